// A set of VLANs or VSANs, written as one line of ranges. A line is never cut: the buffer holds the longest text that
// 4096 ids can make.
#include <qarncli/id_range.h>

#include <bit>
#include <cstdio>

#include "base/bytes.h"
#include "base/id_mask.h"
#include "platform/csm.h"

namespace qarn {
namespace {

constexpr int32_t kWords = kIds / 32;
// Runs of two ids with gaps of one make the longest text: 12,913 characters.
constexpr std::size_t kLongestText = 16384;

// 32 ids from the most significant bit down.
uint32_t word_of(const qarn_id_mask &mask, int32_t position) {
    const uint32_t word = load_u32(mask.bits + position * 4);
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
} // namespace qarn

void qarn_vlan_mask_print(const qarn_id_mask *mask) {
    qarn::print_ids(*mask, "vlan %s\n");
}
void qarn_vlan_config_mask_print(const qarn_id_mask *mask) {
    qarn::print_ids(*mask, "vlan configuration %s\n");
}
void qarn_vsan_mask_print(const qarn_id_mask *mask) {
    qarn::print_ids(*mask, "\nvsans %s\n");
}
