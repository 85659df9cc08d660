// TLV arrays, written and read. A service writes its configuration with the builder; the library reads it with the two
// platform functions. The reader trusts the size word of the array and nothing else: a TLV whose header or value would
// leave that size ends the array.
#include "sim/tlv.h"

#include <algorithm>
#include <cstring>

#include <qarncli/tlv_decode.h>

#include "platform/tlv_array.h"

namespace sim {
namespace {

constexpr uint32_t kHeaderSize = 8; // of the array and of each TLV

void append_word(Bytes &bytes, uint32_t word) {
    char raw[sizeof word];
    std::memcpy(raw, &word, sizeof word);
    bytes.append(raw, sizeof raw);
}

void store_word(Bytes &bytes, std::size_t at, uint32_t word) {
    std::memcpy(bytes.data() + at, &word, sizeof word);
}

Bytes with_nul(std::string_view text) {
    return Bytes(text) + '\0';
}

uint32_t size_of(std::string_view bytes) {
    return static_cast<uint32_t>(bytes.size());
}

uint32_t load_word(const void *array, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, static_cast<const unsigned char *>(array) + at, sizeof word);
    return word;
}

} // namespace

Tlv &Tlv::element(const ElementInfo &info) {
    return words(QARN_TLV_TAG_ELEM_INFO, {info.uuid, info.elem_id, info.level, info.property, info.val_type});
}

Tlv &Tlv::after(uint32_t uuid, uint32_t elem_id, uint32_t dep_type) {
    return words(QARN_TLV_TAG_DEPENDENCY, {uuid, elem_id, dep_type});
}

Tlv &Tlv::text(std::string_view text) {
    return raw(QARN_TLV_TAG_STR, with_nul(text));
}

Tlv &Tlv::intf_text(uint32_t if_index, std::string_view text) {
    return words(QARN_TLV_TAG_IFINDEX_STR, {if_index}).raw(QARN_TLV_TAG_STR, with_nul(text));
}

Tlv &Tlv::intf_command(uint32_t if_index, std::string_view message) {
    return words(QARN_TLV_TAG_IFINDEX_STR, {if_index}).raw(QARN_TLV_TAG_TLV, message);
}

Tlv &Tlv::command(std::string_view message) {
    return raw(QARN_TLV_TAG_TLV, message);
}

Tlv &Tlv::key_string(std::string_view name, std::string_view text) {
    return raw(QARN_TLV_TAG_KEY_STR, with_nul(name)).raw(QARN_TLV_TAG_STR, with_nul(text));
}

Tlv &Tlv::key(uint32_t index, std::string_view map, std::string_view name) {
    return words(QARN_TLV_TAG_KEY, {index}).raw(QARN_TLV_TAG_STR, with_nul(map)).raw(QARN_TLV_TAG_STR, with_nul(name));
}

Tlv &Tlv::raw(uint32_t tag, std::string_view value) {
    return append(tag, size_of(value), value);
}

Tlv &Tlv::append(uint32_t tag, uint32_t length, std::string_view value) {
    append_word(body_, tag);
    append_word(body_, length);
    body_.append(value);
    while (body_.size() % 4 != 0)
        body_.push_back('\0');
    ++count_;
    return *this;
}

Tlv &Tlv::words(uint32_t tag, std::initializer_list<uint32_t> words) {
    Bytes value;
    for (const uint32_t word : words)
        append_word(value, word);
    return raw(tag, value);
}

Bytes Tlv::array() const {
    Bytes array;
    append_word(array, announced_count_.value_or(count_));
    append_word(array, announced_size_.value_or(kHeaderSize + size_of(body_)));
    return array + body_;
}

Bytes Tlv::reply(uint32_t status) const {
    Bytes reply;
    append_word(reply, status);
    return reply + array();
}

Bytes command_message(std::string_view line, uint32_t stamp, uint32_t debug_flags) {
    Bytes message(QARN_CMD_HEADER_SIZE, '\0');
    message += with_nul(line);
    store_word(message, QARN_CMD_LENGTH_AT, size_of(message));
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
