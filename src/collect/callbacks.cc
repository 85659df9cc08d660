// Services that answer through a function in a shared library. The functions expect the request as a received message,
// so the library sends it to its own SAP and receives it back; then it walks the rows of the companion library's table
// in order. A SAP whose function is invoked counts as answered, whatever the function does.
#include <qarncli/callbacks.h>

#include <qarncli/globals.h>
#include <qarncli/message.h>
#include <qarncli/service_list.h>
#include <qarncli/status.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "base/trace.h"
#include "collect/service_list.h"
#include "outcome/outcome.h"
#include "platform/cfglib.h"
#include "platform/mts.h"
#include "platform/programs.h"

namespace qarn {
namespace {

constexpr uint32_t kSapDns = 1348;

bool contains(const uint32_t *list, int32_t n, int32_t sap) {
    return qarn_sap_list_find(list, n, static_cast<uint32_t>(sap)) >= 0;
}

bool serves(const qarn_cfg_cb_entry &row, uint32_t cfg_source) {
    const uint32_t flag = cfg_source == QARN_SOURCE_RUNNING ? QARN_CB_FLAG_RUNNING : QARN_CB_FLAG_STARTUP;
    return (row.flags & flag) != 0;
}

bool is_fallback(const qarn_cfg_cb_entry &row) {
    return (row.flags & QARN_CB_FLAG_FALLBACK) != 0;
}

// The request, received back from the transport; dropped on every way out.
class OwnRequest {
  public:
    explicit OwnRequest(uint32_t handle) : handle_(handle) {}
    ~OwnRequest() {
        if (received_) mts_drop(handle_, &message_);
    }
    OwnRequest(const OwnRequest &) = delete;
    OwnRequest &operator=(const OwnRequest &) = delete;

    bool send(const void *msg, uint32_t size) const {
        return mts_send(handle_, MTS_ADDRESS_LOCAL, mts_sap_get(handle_), QARN_OPC_REQUEST, msg, size, 0, 0, 0) == 0;
    }
    bool receive() {
        qarn_recv_opts options = {};
        options.word[MTS_OPT_ENABLE] = 1;
        options.word[MTS_OPT_OPCODE] = QARN_OPC_REQUEST;
        received_ = mts_recv(handle_, &message_, &options) == 0;
        return received_;
    }
    uint32_t cfg_source() { return qarn_cfg_type_get(&message_); }
    qarn_cb_args arguments() { return {handle_, &message_, 0}; }

  private:
    uint32_t handle_;
    mts_msg message_ = {};
    bool received_ = false;
};

void mark_answered(uint32_t sap) {
    if (debugging(QARN_DEBUG_COLLECT)) trace("Received config from Sap:%d\n", sap);
    qarn_sap_list_delete(saps, num_saps, sap);
    --sap_ctr;
}

void trace_awaited() {
    if (debugging(QARN_DEBUG_STORE)) trace("Sap ctr = %d\n", sap_ctr);
}

void invoke(const qarn_cfg_cb_entry &row, qarn_cb_args &arguments) {
    if (debugging(QARN_DEBUG_COLLECT)) {
        trace("Invoking Function:%s from Library:%s\n", row.func_name, row.lib_name);
    }
    const auto sap = static_cast<uint32_t>(std::max(row.sap, 0));
    if (sap != 0) note_invoked(sap);
    uint32_t result = 0;
    if (dlwrap_invoke_func(row.lib_name, row.func_name, &arguments, &result, qarn_parallel_cfg_cb_invoke_handler) !=
        0) {
        note_service(sap, QARN_OUTCOME_NOT_LOADED);
    } else if (result != 0) {
        note_service(sap, QARN_OUTCOME_CALL_FAILED, result);
    }
}

// No function is called, and the command goes on.
void report_uninvoked(const char *failure) {
    const int err = errno;
    std::perror(failure);
    note_refusal(QARN_OUTCOME_TRANSPORT, QARN_STATUS_TRANSPORT(err));
}

// Send the request to the library's own SAP, receive it, and pass it to every row that `select` accepts.
template <typename Select>
void invoke_selected(uint32_t handle, const void *msg, uint32_t size, const char *send_failed, const char *recv_failed,
                     Select select) {
    OwnRequest request(handle);
    if (!request.send(msg, size)) return report_uninvoked(send_failed);
    if (!request.receive()) return report_uninvoked(recv_failed);
    qarn_cb_args arguments = request.arguments();
    const uint32_t cfg_source = request.cfg_source();
    if (cfg_source != QARN_SOURCE_RUNNING && cfg_source != QARN_SOURCE_STARTUP) return;
    for (int32_t i = 0; i < qarn_cfg_cb_table_size; ++i) {
        const qarn_cfg_cb_entry &row = qarn_cfg_cb_table[i];
        if (contains(saps_exclude, num_saps_exclude, row.sap)) continue;
        if (select(row, cfg_source)) invoke(row, arguments);
    }
}

} // namespace
} // namespace qarn

void qarn_invoke_all_lib_funcs(uint32_t mts_handle, const void *msg, uint32_t size) {
    const auto select = [](const qarn_cfg_cb_entry &row, uint32_t cfg_source) {
        if (row.sap <= 0) return true; // belongs to no service: always asked
        const bool awaited = qarn::contains(saps, num_saps, row.sap);
        if (!qarn::serves(row, cfg_source) || (qarn::is_fallback(row) && awaited)) return false;
        if (awaited) {
            qarn::mark_answered(static_cast<uint32_t>(row.sap));
            qarn::trace_awaited();
        }
        return true;
    };
    qarn::invoke_selected(mts_handle, msg, size, "Ascii cfg send failed", "Ascii cfg recv failed", select);
}

// The searches of `saps` cover the num_saps positions that the driver filled. A row without a SAP of its own is never
// selected.
void qarn_invoke_lib_funcs(uint32_t mts_handle, const void *msg, uint32_t size) {
    uint32_t consumers[MTS_CONSUMER_CAPACITY];
    const int32_t answered = qarn::query_consumers(mts_handle, consumers);
    if (answered < 0) return;
    const int32_t num_consumers = std::min<int32_t>(answered, MTS_CONSUMER_CAPACITY);
    const auto select = [&](const qarn_cfg_cb_entry &row, uint32_t cfg_source) {
        if (row.sap <= 0 || !qarn::contains(saps, num_saps, row.sap)) return false;
        if (!qarn::serves(row, cfg_source)) return false;
        if (qarn::is_fallback(row) && qarn::contains(consumers, num_consumers, row.sap)) return false;
        qarn::mark_answered(static_cast<uint32_t>(row.sap));
        qarn_feature_dns = row.sap == qarn::kSapDns && cfg_display_type == 0 ? 1 : 0;
        qarn::trace_awaited();
        return true;
    };
    qarn::invoke_selected(mts_handle, msg, size, "Ascii cfg feature send failed", "Ascii cfg feature recv failed",
                          select);
}
