// Reading a reply's TLV array. A reply comes from outside: every TLV and text is checked against the reply's extent
// here, and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "base/bytes.h"
#include "platform/tlv_array.h"

namespace qarn {

struct Tlv {
    uint32_t tag = 0;
    uint32_t length = 0;
    const unsigned char *value = nullptr; // null when there is none; length is then 0

    bool has_words(uint32_t count) const { return length >= count * sizeof(uint32_t); }
    uint32_t word(uint32_t position) const { return load_u32(value + position * sizeof(uint32_t)); }
};

// A NUL-terminated text inside the reply.
struct TextValue {
    const char *chars;
    std::size_t length;
};

// A tag and a length, 32 bits each, in every layout of the array; values begin on 4-byte boundaries.
constexpr std::size_t kTlvHeader = 8;

// Walks the array. Whatever it returns lies inside the reply.
class TlvReader {
  public:
    TlvReader(const unsigned char *array, const unsigned char *end) : array_(array), end_(end) {}

    int32_t announced() const { return tlv32_aligned_array_get_num_tlvs(array_, 0); }

    // The next TLV; none at the end of the array, or when it does not lie inside the reply. `used_` is a lower bound
    // for the offset of the next tag; it stops a run of empty TLVs at the end of the reply.
    std::optional<Tlv> next() {
        begin_ = used_;
        if (end_ != nullptr && used_ + kTlvHeader > static_cast<std::size_t>(end_ - array_)) return {};
        Tlv tlv;
        void *value = nullptr;
        if (tlv32_aligned_array_get_next_tlv(array_, &tlv.tag, &tlv.length, &value, 0, &cursor_) != 0) return {};
        used_ += kTlvHeader + (std::size_t{tlv.length} + 3) / 4 * 4;
        if (value == nullptr || tlv.length == 0) {
            tlv.length = 0;
        } else {
            tlv.value = static_cast<const unsigned char *>(value);
            if (!holds(tlv.value, tlv.length)) {
                leaves_reply_ = true;
                return {};
            }
        }
        ++taken_;
        return tlv;
    }

    // TLVs handed out so far.
    int64_t taken() const { return taken_; }

    // Whether the walk ended at a TLV that does not lie inside the reply.
    bool leaves_reply() const { return leaves_reply_; }
    // Where the last TLV that was asked for begins, or a little before.
    std::size_t last_begin() const { return begin_; }

    // The text that begins at the TLV's value and runs to its NUL, wherever that is inside the reply.
    std::optional<TextValue> text(const Tlv &tlv) const {
        if (tlv.value == nullptr) return TextValue{"", 0};
        const auto *chars = reinterpret_cast<const char *>(tlv.value);
        if (end_ == nullptr) return TextValue{chars, std::strlen(chars)};
        const auto room = static_cast<std::size_t>(end_ - tlv.value);
        const std::size_t length = strnlen(chars, room);
        if (length == room) return {};
        return TextValue{chars, length};
    }

  private:
    bool holds(const unsigned char *value, uint32_t length) const {
        if (end_ == nullptr) return true;
        return value >= array_ && value <= end_ && length <= static_cast<std::size_t>(end_ - value);
    }

    const unsigned char *array_;
    const unsigned char *end_;
    uint32_t cursor_ = 0;
    std::size_t used_ = 0; // lower bound of the bytes that the TLVs read so far take
    std::size_t begin_ = 0;
    bool leaves_reply_ = false;
    int64_t taken_ = 0;
};

} // namespace qarn
