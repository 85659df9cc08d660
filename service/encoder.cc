#include "service/encoder.h"

#include <cstring>

#include <qarncli/tlv_decode.h>

namespace service {
namespace {

constexpr std::size_t kPropertyAt = 12; // in the value of tag 0

void append_word(Bytes &bytes, uint32_t word) {
    char raw[sizeof word];
    std::memcpy(raw, &word, sizeof word);
    bytes.append(raw, sizeof raw);
}

void store_word(Bytes &bytes, std::size_t at, uint32_t word) {
    std::memcpy(bytes.data() + at, &word, sizeof word);
}

} // namespace

Encoder &Encoder::element(const ElementInfo &info) {
    element_at_ = reply_.size() + kTlvHeaderSize;
    return words(QARN_TLV_TAG_ELEM_INFO, {info.uuid, info.elem_id, info.level, info.property, info.val_type});
}

Encoder &Encoder::after(uint32_t uuid, uint32_t elem_id, uint32_t dep_type) {
    return words(QARN_TLV_TAG_DEPENDENCY, {uuid, elem_id, dep_type});
}

Encoder &Encoder::text(std::string_view text) {
    begin(QARN_TLV_TAG_STR, text.size() + 1);
    reply_.append(text).push_back('\0');
    pad();
    return *this;
}

Encoder &Encoder::intf_text(uint32_t if_index, std::string_view value) {
    return words(QARN_TLV_TAG_IFINDEX_STR, {if_index}).text(value);
}

Encoder &Encoder::intf_command(uint32_t if_index, std::string_view message) {
    return words(QARN_TLV_TAG_IFINDEX_STR, {if_index}).command(message);
}

Encoder &Encoder::command(std::string_view message) {
    return raw(QARN_TLV_TAG_TLV, message);
}

Encoder &Encoder::key_string(std::string_view name, std::string_view value) {
    begin(QARN_TLV_TAG_KEY_STR, name.size() + 1);
    reply_.append(name).push_back('\0');
    pad();
    return text(value);
}

Encoder &Encoder::key(uint32_t index, std::string_view map, std::string_view name) {
    return words(QARN_TLV_TAG_KEY, {index}).text(map).text(name);
}

Encoder &Encoder::add_property(uint32_t bits) {
    uint32_t property = 0;
    std::memcpy(&property, reply_.data() + element_at_ + kPropertyAt, sizeof property);
    store_word(reply_, element_at_ + kPropertyAt, property | bits);
    return *this;
}

Encoder &Encoder::words(uint32_t tag, std::initializer_list<uint32_t> words) {
    begin(tag, words.size() * sizeof(uint32_t));
    for (const uint32_t word : words)
        append_word(reply_, word);
    return *this;
}

Encoder &Encoder::raw(uint32_t tag, std::string_view value) {
    return lie(tag, static_cast<uint32_t>(value.size()), value);
}

Encoder &Encoder::lie(uint32_t tag, uint32_t length, std::string_view value) {
    begin(tag, length);
    reply_.append(value);
    pad();
    return *this;
}

Encoder &Encoder::unpadded(uint32_t tag, uint32_t length, std::string_view rest) {
    begin(tag, length);
    return bytes(rest);
}

Encoder &Encoder::bytes(std::string_view bytes) {
    reply_.append(bytes);
    return *this;
}

Encoder &Encoder::announce_count(uint32_t count) {
    announced_count_ = count;
    return *this;
}

Encoder &Encoder::announce_size(uint32_t size) {
    announced_size_ = size;
    return *this;
}

void Encoder::begin(uint32_t tag, std::size_t length) {
    append_word(reply_, tag);
    append_word(reply_, static_cast<uint32_t>(length));
    ++count_;
}

// The header has a multiple of 4 bytes, so that the reply may be padded in place of the array.
void Encoder::pad() {
    reply_.append((4 - reply_.size() % 4) % 4, '\0');
}

void Encoder::write_header(Bytes &reply, uint32_t status) const {
    store_word(reply, 0, status);
    store_word(reply, kCountAt, announced_count_.value_or(count_));
    store_word(reply, kSizeAt, announced_size_.value_or(static_cast<uint32_t>(reply.size() - kCountAt)));
}

Bytes Encoder::array() const {
    return reply().substr(kCountAt);
}

Bytes Encoder::reply(uint32_t status) const {
    Bytes copy = reply_;
    write_header(copy, status);
    return copy;
}

const Bytes &Encoder::seal(uint32_t status) {
    write_header(reply_, status);
    return reply_;
}

} // namespace service
