// Setting a generation up. Tables of an earlier generation are abandoned: what that generation left in the globals may
// still refer to their elements.
#include <qarncli/entry.h>
#include <qarncli/globals.h>
#include <qarncli/ifindex.h>
#include <qarncli/profile.h>
#include <qarncli/service_list.h>
#include <qarncli/status.h>

#include "collect/service_list.h"
#include "entry/generation.h"
#include "outcome/outcome.h"
#include "platform/csm.h"

namespace qarn {

// The interface lists keep what they held when the interface manager fails; the manager's error has been printed.
Step set_up(Generation &gen) {
    if (const uint32_t status = qarn_merge_init(gen.req); status != 0) {
        note_refusal(QARN_OUTCOME_NO_INTERFACES, status);
    }
    qarn_ppm_merge_init(gen.req, gen.cfg_source);
    if (qarn_feature != 1 && !list_consumers(gen.handle)) {
        note_refusal(QARN_OUTCOME_NO_CONSUMERS);
        return end_at_once(QARN_STATUS_FAILED);
    }
    sap_ctr = num_saps - num_saps_exclude;
    trace_service_lists();
    qarn_exclude_saps();
    if (num_saps <= 0) {
        csm_qarn_sp_print("No registered SAPS\n");
        note_refusal(QARN_OUTCOME_NO_SERVICES);
        return end_at_once(0);
    }
    return kGoOn;
}

} // namespace qarn

uint32_t qarn_merge_init(qarn_req *req) {
    merge_elem_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    msg_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    vlan_reverse_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    if_index_list_p = &if_index_list;
    return qarn_ifindex_lists_init(req);
}
