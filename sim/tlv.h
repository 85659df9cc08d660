// Builder of TLV arrays and replies, shared by the simulated services, the tests and the benchmarks.
//
// Layout of an array: u32 number of TLVs, u32 size of the whole array in bytes (these 8 included), then per TLV u32
// tag, u32 length and the value, padded with zeros to 4 bytes. All words in host byte order. The reader (tlv.cc)
// never leaves the array's own size.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include <qarncli/element.h>

namespace sim {

// A byte string: messages, fragments, replies.
using Bytes = std::string;

// What tag 0 says of an element.
struct ElementInfo {
    std::uint32_t uuid = 0, elem_id = 0, level = 0, property = 0, val_type = QARN_VAL_TEXT;
};

class Tlv {
  public:
    // The format as services speak it. Texts travel with their NUL.
    Tlv &element(const ElementInfo &info);
    Tlv &after(std::uint32_t uuid, std::uint32_t elem_id, std::uint32_t dep_type = QARN_DEP_ORDER);
    Tlv &text(std::string_view text);
    Tlv &intf_text(std::uint32_t if_index, std::string_view text);
    Tlv &intf_command(std::uint32_t if_index, std::string_view message);
    Tlv &command(std::string_view message);
    Tlv &key_string(std::string_view name, std::string_view text);
    Tlv &key(std::uint32_t index, std::string_view map, std::string_view name);

    // The same without manners, for what a broken service sends.
    Tlv &raw(std::uint32_t tag, std::string_view value);                       // the value as it is, no NUL added
    Tlv &lie(std::uint32_t tag, std::uint32_t length, std::string_view value); // a length that is not the value's
    Tlv &words(std::uint32_t tag, std::initializer_list<std::uint32_t> words);
    Tlv &announce(std::uint32_t count);     // instead of the true number of TLVs
    Tlv &announce_size(std::uint32_t size); // instead of the true size of the array

    Bytes array() const;                         // header and TLVs
    Bytes reply(std::uint32_t status = 0) const; // a qarn_cfg_reply: status word and array
    std::uint32_t count() const { return count_; }

  private:
    Bytes body_;
    std::uint32_t count_ = 0;
    std::int64_t announced_count_ = -1, announced_size_ = -1;
};

// Type word of a command message: a line of text, or attributes as the shell's cmd_rep_attr_add writes them.
enum CommandType : std::uint32_t { kCommandText = 1, kCommandAttributes = 2 };

// A command message that renders as `line` in an interface block: the shell framework's 64-byte header (length, type,
// stamp) followed by the text and its NUL.
Bytes command_message(std::string_view line, std::uint32_t stamp = QARN_CMD_STAMP, std::uint32_t debug_flags = 0);

} // namespace sim
