// The platform's two functions with which the library reads TLV arrays, and the command messages of interfaces. The
// reader trusts the size word of the array and nothing else: a TLV whose header or value would leave that size ends the
// array.
#include "sim/tlv.h"

#include <algorithm>
#include <cstring>

#include "platform/tlv_array.h"

namespace sim {
namespace {

constexpr uint32_t kHeaderSize = 8; // of the array and of each TLV

void store_word(Bytes &bytes, std::size_t at, uint32_t word) {
    std::memcpy(bytes.data() + at, &word, sizeof word);
}

uint32_t load_word(const void *array, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, static_cast<const unsigned char *>(array) + at, sizeof word);
    return word;
}

} // namespace

Bytes command_message(std::string_view line, uint32_t stamp, uint32_t debug_flags) {
    Bytes message(QARN_CMD_HEADER_SIZE, '\0');
    message.append(line).push_back('\0');
    store_word(message, QARN_CMD_LENGTH_AT, static_cast<uint32_t>(message.size()));
    store_word(message, QARN_CMD_TYPE_AT, kCommandText);
    store_word(message, QARN_CMD_DEBUG_FLAGS_AT, debug_flags);
    store_word(message, QARN_CMD_STAMP_AT, stamp);
    return message;
}

extern "C" {

int32_t tlv32_aligned_array_get_num_tlvs(const void *array, uint32_t) {
    return static_cast<int32_t>(load_word(array, 0));
}

// The cursor counts bytes after the array's header.
int32_t tlv32_aligned_array_get_next_tlv(const void *array, uint32_t *tag, uint32_t *length, void **value, uint32_t,
                                         uint32_t *cursor) {
    const uint64_t size = load_word(array, 4);
    const uint64_t at = uint64_t{kHeaderSize} + *cursor;
    if (at + kHeaderSize > size) return 1;
    const uint32_t value_length = load_word(array, at + 4);
    const uint64_t value_at = at + kHeaderSize;
    if (value_length > size - value_at) return 1;

    *tag = load_word(array, at);
    *length = value_length;
    *value = value_length == 0 ? nullptr : static_cast<unsigned char *>(const_cast<void *>(array)) + value_at;
    const uint64_t padded = (uint64_t{value_length} + 3) & ~uint64_t{3};
    *cursor = static_cast<uint32_t>(std::min(value_at + padded, size) - kHeaderSize);
    return 0;
}

} // extern "C"

} // namespace sim
