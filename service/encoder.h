// Encoder of TLV arrays and of replies, for every service, simulated or not.
//
// Layout of a reply: u32 status, then the array: u32 number of TLVs, u32 size of the array in bytes (these 8 included),
// then per TLV u32 tag, u32 length and the value, padded with zeros to a multiple of 4 bytes. All words are in host
// byte order. The encoder writes what it is given; service/reply.cc checks what the author of a service gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <qarncli/element.h>

namespace service {

// A byte string: messages, fragments, replies.
using Bytes = std::string;

// The value of tag 0.
struct ElementInfo {
    uint32_t uuid = 0, elem_id = 0, level = 0, property = 0, val_type = QARN_VAL_TEXT;
};

// Bytes of tag and length.
inline constexpr std::size_t kTlvHeaderSize = 8;

class Encoder {
  public:
    // Texts are sent with their NUL.
    Encoder &element(const ElementInfo &info);
    Encoder &after(uint32_t uuid, uint32_t elem_id, uint32_t dep_type = QARN_DEP_ORDER);
    Encoder &text(std::string_view text);
    Encoder &intf_text(uint32_t if_index, std::string_view value);
    Encoder &intf_command(uint32_t if_index, std::string_view message);
    Encoder &command(std::string_view message);
    Encoder &key_string(std::string_view name, std::string_view value);
    Encoder &key(uint32_t index, std::string_view map, std::string_view name);

    // Set bits in the properties of the last element, which must exist.
    Encoder &add_property(uint32_t bits);

    // Any TLV.
    Encoder &words(uint32_t tag, std::initializer_list<uint32_t> words);
    Encoder &raw(uint32_t tag, std::string_view value); // no NUL added

    // Malformed arrays: a TLV whose length is not the value's, and words of the header in place of the true ones.
    Encoder &lie(uint32_t tag, uint32_t length, std::string_view value);
    Encoder &unpadded(uint32_t tag, uint32_t length, std::string_view rest); // nothing added after the bytes
    Encoder &bytes(std::string_view bytes);                                  // that are no TLV
    Encoder &announce_count(uint32_t count);
    Encoder &announce_size(uint32_t size);

    uint32_t count() const { return count_; }          // of TLVs
    std::size_t size() const { return reply_.size(); } // of the reply
    Bytes array() const;                               // header and TLVs
    Bytes reply(uint32_t status = 0) const;            // a qarn_cfg_reply: status word and array
    const Bytes &seal(uint32_t status = 0);            // the same without a copy; valid until the next change

  private:
    static constexpr std::size_t kCountAt = 4, kSizeAt = 8, kTlvsAt = 12;

    void begin(uint32_t tag, std::size_t length);
    void pad();
    void write_header(Bytes &reply, uint32_t status) const;

    Bytes reply_ = Bytes(kTlvsAt, '\0'); // the header is written last
    uint32_t count_ = 0;
    std::size_t element_at_ = 0;                               // the value of the last tag 0
    std::optional<uint32_t> announced_count_, announced_size_; // in place of the true ones
};

} // namespace service
