// The list of SAPs that a generation asks and awaits, and the list of those that the command excludes. A SAP leaves a
// list when its slot becomes 0; slots never shift, so num_saps keeps the number that was listed.
#include <qarncli/service_list.h>

#include <qarncli/globals.h>
#include <qarncli/message.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/trace.h"
#include "collect/service_list.h"
#include "outcome/outcome.h"
#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/mts.h"

namespace qarn {
namespace {

void list_one(uint32_t sap) {
    num_saps = 1;
    saps[0] = sap;
}

} // namespace

int32_t query_consumers(uint32_t handle, uint32_t *list) {
    const int32_t answered = mts_opc_consumers_list(handle, QARN_OPC_REQUEST, list, MTS_CONSUMER_CAPACITY);
    if (answered < 0) {
        std::perror("Num Consumers");
        return -1;
    }
    return answered;
}

bool list_consumers(uint32_t handle) {
    const int32_t count = query_consumers(handle, saps);
    if (count < 0) return false;
    num_saps = std::min<int32_t>(count, MTS_CONSUMER_CAPACITY);
    note_consumers_left_out(static_cast<uint32_t>(count - num_saps));
    return true;
}

std::optional<uint32_t> select_services(const qarn_req &req) {
    if (req.sap == QARN_SAP_NONE && req.index == 0) return 0;
    qarn_feature = 1;
    add_nl = 0;
    if (debugging(QARN_DEBUG_COLLECT)) {
        trace("Sap:%d\n", req.sap);
        trace("Index:%d\n", req.index);
    }
    switch (req.sap) {
        case QARN_SAP_ALL_CONSUMERS:
            if (!list_consumers(req.mts_handle)) return {};
            qarn_feature_send_all = 1;
            return QARN_SAP_ALL_CONSUMERS;
        case QARN_SAP_TABLE_ROW:
            qarn_get_saps_from_sap_table(req.index);
            return req.index;
        default:
            list_one(req.sap);
            return req.sap;
    }
}

void trace_service_lists() {
    if (!debugging(QARN_DEBUG_COLLECT)) return;
    trace("Num Saps:%d\n", num_saps);
    qarn_sap_list_pending_print(saps, num_saps);
    trace("Num Saps Excluded:%d\n", num_saps_exclude);
    qarn_sap_list_pending_print(saps_exclude, num_saps_exclude);
}

} // namespace qarn

void qarn_get_saps_from_sap_table(uint32_t index) {
    if (index >= SHOW_TABLE_ROWS) return;
    const uint32_t *row = show_sap_table[index];
    for (int slot = 0; slot < SHOW_SAP_SLOTS; ++slot) {
        const uint32_t sap = row[1 + slot];
        if (sap == 0) continue;
        saps[slot] = sap; // its own slot, not the next free one
        num_saps = std::min(std::max(num_saps, 0) + 1, static_cast<int32_t>(std::size(saps)));
        qarnkey = row[SHOW_SAP_KEY_WORD];
    }
}

int32_t qarn_sap_list_find(const uint32_t *list, int32_t n, uint32_t sap) {
    for (int32_t i = 0; i < n; ++i) {
        if (list[i] == sap) return i;
    }
    return -1;
}

void qarn_sap_list_delete(uint32_t *list, int32_t n, uint32_t sap) {
    if (n > 0) std::replace(list, list + n, sap, 0u);
}

void qarn_exclude_saps() {
    for (int32_t i = 0; i < num_saps_exclude; ++i)
        qarn_sap_list_delete(saps, num_saps, saps_exclude[i]);
}

void qarn_sap_list_pending_print(const uint32_t *list, int32_t n) {
    csm_qarn_sp_print("Pending SAPS:");
    for (int32_t i = 0; i < n; ++i) {
        if (list[i] != 0) csm_qarn_sp_print("%d ", list[i]);
    }
    csm_qarn_sp_print("\n");
}
