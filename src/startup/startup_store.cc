// Opening the startup store for a display of the startup configuration. The store stays locked while the services read
// it; the driver or the signal handler releases it.
#include "startup/startup_store.h"

#include <qarncli/globals.h>
#include <qarncli/message.h>
#include <qarncli/startup.h>
#include <qarncli/status.h>

#include "base/bytes.h"
#include "base/trace.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

constexpr std::size_t kUriSuffix = 4; // characters after the base of the store's URI

// The status with which the command ends because the store is not opened; none if the command goes on.
using Refusal = std::optional<uint32_t>;
constexpr Refusal kGoOn = std::nullopt;

Refusal refuse_without_copy() {
    csm_qarn_sp_print("ERROR: Please do 'copy run start' and retry.\n");
    note_refusal(QARN_OUTCOME_NO_BINARY_STARTUP);
    return 0;
}

Refusal show_ascii_file(const StartupStore &store) {
    if (debugging(QARN_DEBUG_STORE)) trace("Displaying Ascii file %s\n", store.ascii_path);
    if (cmd_token_id == QARN_TOKEN_SYNC_BODY) return refuse_without_copy();
    qarn_merge_cat_file(store.ascii_path);
    if (num_saps_exclude > 0) note_refusal(QARN_OUTCOME_NO_BINARY_STARTUP); // nothing is excluded from a text
    return 0;
}

// End the displays that cannot go on without a binary store. Each condition looks for that store again.
Refusal check_both_forms(qarn_req &req, StartupStore &store) {
    if (qarn_is_startup_cfg_present(&req, store.ascii_path) == 0) {
        csm_qarn_sp_print("%s\n", syserr2str(QARN_STATUS_NO_STARTUP));
        note_refusal(QARN_OUTCOME_NO_STARTUP);
        return QARN_STATUS_NO_STARTUP;
    }
    if (cfg_display != QARN_DISPLAY_ALL && qarn_is_startup_bin_cfg_present(&req) == 0) return refuse_without_copy();
    if (qarn_feature == 1 && qarn_is_startup_bin_cfg_present(&req) == 0) {
        csm_qarn_sp_print("ERROR:No binary startup-config present. Use \"show startup-config\" instead.\n");
        note_refusal(QARN_OUTCOME_NO_BINARY_STARTUP);
        return 0;
    }
    if (qarn_feature != 1 && qarn_is_startup_bin_cfg_present(&req) == 0) return show_ascii_file(store);
    return kGoOn;
}

// The base URI is the lock response's first string without its suffix. A string of fewer than four characters has no
// suffix to take off and counts as no response: the default URI then takes its place.
Refusal derive_uri(qarn_req &req, StartupStore &store) {
    constexpr std::size_t kUriSize = sizeof req.startup_uri;
    const auto *response = static_cast<const qarn_lock_response *>(startup_resp_data);
    const std::size_t n = response != nullptr ? strnlen(response->bin_uri, sizeof response->bin_uri) : 0;
    if (n < kUriSuffix) {
        copy_text(req.startup_uri, kUriSize, QARN_DEFAULT_STARTUP_URI);
        return kGoOn;
    }
    store.uri = allocate<char>(n);
    if (!store.uri) {
        csm_qarn_sp_print("Failed to allocate memory for startup uri\n");
        note_refusal(QARN_OUTCOME_NO_MEMORY);
        return QARN_STATUS_FAILED;
    }
    std::memset(store.uri.get(), 0, n);
    std::memcpy(store.uri.get(), response->bin_uri, n - kUriSuffix);
    if (debugging(QARN_DEBUG_STORE)) {
        trace("URI BIN BASE LEN is %d\n", static_cast<int>(n));
        trace("URI BASE is %s Len is %d\n", store.uri.get(), static_cast<int>(n - kUriSuffix));
    }
    copy_text(req.startup_uri, kUriSize, store.uri.get());
    return kGoOn;
}

} // namespace

std::optional<uint32_t> open_startup_store(qarn_req &req, StartupStore &store) {
    req.info_flags |= QARN_INFO_STARTUP;
    if (const Refusal refusal = check_both_forms(req, store)) return refusal;
    if (const uint32_t status = qarn_startup_cfg_lock(req.mts_handle, 1); status != 0) {
        note_refusal(QARN_OUTCOME_STORE_REFUSED, status);
        return status;
    }
    return derive_uri(req, store);
}

void release_startup_store(uint32_t handle) {
    if (start_cfg_locked == 0) return;
    if (const uint32_t status = qarn_startup_cfg_lock(handle, 0); status != 0) {
        note_refusal(QARN_OUTCOME_STORE_REFUSED, status);
    }
}

} // namespace qarn
