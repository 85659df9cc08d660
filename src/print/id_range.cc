// VLAN and VSAN sets: filling the request message's masks from the command's ranges, and naming a set as one line.
// Only the part of a range that lies in 0..4095 is used. A line prints whole: the buffer holds the longest text that
// 4096 ids can make.
#include <qarncli/id_range.h>

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include <algorithm>
#include <bit>
#include <cstdio>

#include "base/bytes.h"
#include "base/tokens.h"
#include "platform/csm.h"
#include "print/id_set.h"

namespace {

using qarn::kIds;
constexpr int32_t kWords = kIds / 32;
// Runs of two ids with gaps of one make the longest text: 12,913 characters.
constexpr std::size_t kLongestText = 16384;

void set_all(qarn_id_mask *mask) {
    std::memset(mask->bits, 0xff, sizeof mask->bits);
}

// Ids as the first token's range list names them; a token without a value names none.
void set_named(qarn_id_mask *mask, const qarn_req &req) {
    const auto *ranges = static_cast<const qarn_range_list *>(qarn::token_value(req, 0));
    if (ranges == nullptr) return;
    for (uint32_t k = 0; k < ranges->count; ++k) {
        const int32_t high = std::min(ranges->range[k].high, kIds - 1);
        for (int32_t id = std::max(ranges->range[k].low, 0); id <= high; ++id)
            qarn::set_id(mask, id);
    }
}

// Fill a cleared mask: the ids that the command names in the display that filters by them, every id in the others.
bool fill(qarn_id_mask *mask, const qarn_req &req, uint32_t filtering_display) {
    if (cfg_display != filtering_display || req.num_tokens == 0) {
        set_all(mask);
        return false;
    }
    set_named(mask, req);
    return true;
}

// 32 ids from the most significant bit down.
uint32_t word_of(const qarn_id_mask &mask, int32_t position) {
    const uint32_t word = qarn::load_u32(mask.bits + position * 4);
    return std::endian::native == std::endian::little ? __builtin_bswap32(word) : word;
}

// The lowest id that is set (or, with `inverted`, clear) at or after `from`; kIds when there is none.
int32_t next_id(const qarn_id_mask &mask, int32_t from, bool inverted) {
    uint32_t seen = ~0u >> (from % 32);
    for (int32_t w = from / 32; w < kWords; ++w, seen = ~0u) {
        const uint32_t word = (inverted ? ~word_of(mask, w) : word_of(mask, w)) & seen;
        if (word != 0) return w * 32 + std::countl_zero(word);
    }
    return kIds;
}

// Appends to a buffer that the caller has made large enough.
class RangeText {
  public:
    explicit RangeText(char *buffer) : begin_(buffer), end_(buffer) {}

    void add_run(int32_t first, int32_t last) {
        if (end_ != begin_) *end_++ = ',';
        add(first);
        if (last == first) return;
        *end_++ = '-';
        add(last);
    }
    void finish() { *end_ = '\0'; }

  private:
    void add(int32_t id) { end_ += std::sprintf(end_, "%d", id); }

    char *begin_;
    char *end_;
};

void print_ids(const qarn_id_mask &mask, const char *format) {
    char buffer[kLongestText];
    RangeText text(buffer);
    for (int32_t first = next_id(mask, 0, false); first < kIds;) {
        const int32_t after = next_id(mask, first, true);
        text.add_run(first, after - 1);
        first = after < kIds ? next_id(mask, after, false) : kIds;
    }
    text.finish();
    const auto print = csm_qarn_sp_print; // the format is one of the three below
    print(format, buffer);
}

} // namespace

void qarn_vsan_mask_populate(qarn_req *req, qarn_id_mask *mask) {
    qarn::clear_ids(mask);
    if (!fill(mask, *req, QARN_DISPLAY_VSAN)) return;
    for (std::size_t i = 0; i < sizeof mask->bits; ++i)
        mask->bits[i] &= req->vsan_mask.bits[i];
}

void qarn_vlan_mask_populate(qarn_req *req, qarn_id_mask *mask) {
    qarn::clear_ids(mask);
    req->vlan_mask.len = sizeof req->vlan_mask.bits;
    set_all(&req->vlan_mask);
    fill(mask, *req, QARN_DISPLAY_VLAN);
}

void qarn_vlan_mask_print(const qarn_id_mask *mask) {
    print_ids(*mask, "vlan %s\n");
}
void qarn_vlan_config_mask_print(const qarn_id_mask *mask) {
    print_ids(*mask, "vlan configuration %s\n");
}
void qarn_vsan_mask_print(const qarn_id_mask *mask) {
    print_ids(*mask, "\nvsans %s\n");
}
