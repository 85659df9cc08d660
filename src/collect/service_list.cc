// The list of SAPs that a generation asks and awaits, and of those that the command excludes. A SAP leaves the list by
// its slot becoming 0, never by shifting, so num_saps stays what it was filled with.
#include <qarncli/service_list.h>

#include <qarncli/globals.h>

#include <algorithm>
#include <iterator>

#include "platform/cmdshell.h"
#include "platform/csm.h"

void qarn_get_saps_from_sap_table(uint32_t index) {
    if (index >= SHOW_TABLE_ROWS) return;
    const uint32_t *row = show_sap_table[index];
    int32_t count = std::max(num_saps, 0);
    for (int slot = 0; slot < SHOW_SAP_SLOTS; ++slot) {
        const uint32_t sap = row[1 + slot];
        if (sap == 0) continue;
        saps[slot] = sap; // its own slot, not the next free one
        ++count;
        qarnkey = row[SHOW_SAP_KEY_WORD];
    }
    num_saps = std::min(count, static_cast<int32_t>(std::size(saps)));
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
