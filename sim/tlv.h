// Builder of TLV arrays and replies, for the simulated services, the tests and the benchmarks.
//
// Layout of an array: u32 number of TLVs, u32 size of the whole array in bytes (these 8 included), then per TLV u32
// tag, u32 length and the value, padded with zeros to a multiple of 4 bytes. All words are in host byte order. The
// reader (tlv.cc) never reads beyond the array's own size.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <qarncli/element.h>

namespace sim {

// A byte string: messages, fragments, replies.
using Bytes = std::string;

// The value of tag 0.
struct ElementInfo {
    uint32_t uuid = 0, elem_id = 0, level = 0, property = 0, val_type = QARN_VAL_TEXT;
};

class Tlv {
  public:
    // Texts are sent with their NUL.
    Tlv &element(const ElementInfo &info);
    Tlv &after(uint32_t uuid, uint32_t elem_id, uint32_t dep_type = QARN_DEP_ORDER);
    Tlv &text(std::string_view text);
    Tlv &intf_text(uint32_t if_index, std::string_view text);
    Tlv &intf_command(uint32_t if_index, std::string_view message);
    Tlv &command(std::string_view message);
    Tlv &key_string(std::string_view name, std::string_view text);
    Tlv &key(uint32_t index, std::string_view map, std::string_view name);

    // Any TLV.
    Tlv &words(uint32_t tag, std::initializer_list<uint32_t> words);
    Tlv &raw(uint32_t tag, std::string_view value); // no NUL added

    Bytes array() const;                    // header and TLVs
    Bytes reply(uint32_t status = 0) const; // a qarn_cfg_reply: status word and array
    uint32_t count() const { return count_; }

  private:
    // The malformed arrays of script.h.
    friend Tlv lie(Tlv tlv, uint32_t tag, uint32_t length, std::string_view value);
    friend Tlv announce(Tlv tlv, uint32_t count);
    friend Tlv announce_size(Tlv tlv, uint32_t size);

    Tlv &append(uint32_t tag, uint32_t length, std::string_view value);

    Bytes body_;
    uint32_t count_ = 0;
    std::optional<uint32_t> announced_count_, announced_size_; // in place of the true ones
};

// Type word of a command message: a line of text, or attributes in the layout of the shell's cmd_rep_attr_add.
enum CommandType : uint32_t { kCommandText = 1, kCommandAttributes = 2 };

// A command message that renders as `line` in an interface block: the shell framework's 64-byte header (length, type,
// stamp) followed by the text and its NUL.
Bytes command_message(std::string_view line, uint32_t stamp = QARN_CMD_STAMP, uint32_t debug_flags = 0);

} // namespace sim
