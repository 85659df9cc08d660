// The request message's VLAN and VSAN masks, filled from the ranges that the command names. Only the part of a range
// that lies in 0..4095 is used.
#include <qarncli/id_filter.h>

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include <algorithm>

#include "base/id_mask.h"
#include "base/tokens.h"

namespace qarn {
namespace {

void set_all(qarn_id_mask *mask) {
    std::memset(mask->bits, 0xff, sizeof mask->bits);
}

// Set the ids that the range list of the first token names; a token without a value names none.
void set_named(qarn_id_mask *mask, const qarn_req &req) {
    const auto *ranges = static_cast<const qarn_range_list *>(token_value(req, 0));
    if (ranges == nullptr) return;
    for (uint32_t k = 0; k < ranges->count; ++k) {
        const int32_t high = std::min(ranges->range[k].high, kIds - 1);
        for (int32_t id = std::max(ranges->range[k].low, 0); id <= high; ++id)
            set_id(mask, id);
    }
}

// Fill a cleared mask: in the display `filtering_display` with the ids that the command names; in other displays, or
// without a token, with every id. Returns whether only named ids were set.
bool fill(qarn_id_mask *mask, const qarn_req &req, uint32_t filtering_display) {
    if (cfg_display != filtering_display || req.num_tokens == 0) {
        set_all(mask);
        return false;
    }
    set_named(mask, req);
    return true;
}

} // namespace
} // namespace qarn

void qarn_vsan_mask_populate(qarn_req *req, qarn_id_mask *mask) {
    qarn::clear_ids(mask);
    if (!qarn::fill(mask, *req, QARN_DISPLAY_VSAN)) return;
    for (std::size_t i = 0; i < sizeof mask->bits; ++i)
        mask->bits[i] &= req->vsan_mask.bits[i];
}

void qarn_vlan_mask_populate(qarn_req *req, qarn_id_mask *mask) {
    qarn::clear_ids(mask);
    req->vlan_mask.len = sizeof req->vlan_mask.bits;
    qarn::set_all(&req->vlan_mask);
    qarn::fill(mask, *req, QARN_DISPLAY_VLAN);
}
