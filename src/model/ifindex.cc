// Which interfaces the command covers. The interface manager answers with chains of sublists, one sublist per
// interface block; the main chain is flattened into if_index_list, which travels to every service. The membership
// variant has a second chain, read by the element printer.
//
// The combined list holds the first 20000 indexes; a line on standard error reports how many were left out. A sublist
// with a negative count holds none.
#include <qarncli/ifindex.h>

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include <algorithm>
#include <cstdio>

#include "base/owner.h"
#include "base/tokens.h"
#include "base/trace.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/ifmgr.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

bool names_interfaces(const qarn_req &req) {
    return cfg_display == QARN_DISPLAY_INTERFACE && token_count(req) != 0 && req.tokens[0] != nullptr &&
           req.tokens[0]->type == QARN_TOKEN_TYPE_INTERFACE;
}

uint32_t get_chain(qarn_req *req, ifindex_sublist **head, uint32_t flag) {
    const uint32_t status = if_manager_ifindex_list_get(req, head, flag);
    if (status != 0) csm_qarn_sp_print("%s\n", syserr2str(status));
    return status;
}

std::size_t length_of(const ifindex_sublist &sublist) {
    return static_cast<std::size_t>(std::max(sublist.count, 0));
}

// Indexes in the whole chain, traced sublist by sublist.
std::size_t count_indexes(const ifindex_sublist *chain) {
    std::size_t total = 0;
    for (; chain != nullptr; chain = chain->next) {
        total += length_of(*chain);
        if (debugging(QARN_DEBUG_INTERFACE)) {
            trace("Copying ifindex sublist for %d of length %d\n", chain->elem_id, chain->count);
        }
    }
    return total;
}

void combine(const ifindex_sublist *chain) {
    const std::size_t total = count_indexes(chain);
    const std::size_t room = std::min<std::size_t>(total, QARN_MAX_IFINDEXES);
    if (total > room) {
        note_interfaces_left_out(static_cast<uint32_t>(total - room));
        std::fprintf(stderr, "%zu interfaces beyond the first %zu are left out\n", total - room, room);
    }
    uint32_t *indexes = allocate<uint32_t>(room * sizeof(uint32_t)).release();
    if_index_list = {indexes != nullptr ? static_cast<uint32_t>(room) : 0, indexes};
    if (indexes == nullptr) return;
    std::size_t filled = 0;
    for (; chain != nullptr && filled < room; chain = chain->next) {
        const std::size_t taken = std::min(length_of(*chain), room - filled);
        std::copy_n(chain->ifindexes, taken, indexes + filled);
        filled += taken;
    }
}

} // namespace
} // namespace qarn

uint32_t qarn_ifindex_lists_init(qarn_req *req) {
    uint32_t flag = qarn::names_interfaces(*req) ? 0 : 1;
    if (cmd_token_id == QARN_TOKEN_MEMBERSHIP) {
        const uint32_t status = qarn::get_chain(req, &membership_multi_list_head_p, flag);
        if (status != 0) return status;
        flag = 1;
    }
    const uint32_t status = qarn::get_chain(req, &multi_list_head_p, flag);
    if (status != 0) return status;
    qarn::combine(multi_list_head_p);
    return 0;
}
