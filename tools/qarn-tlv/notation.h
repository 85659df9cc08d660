// How texts and bytes are written in the YAML of a reply. Every byte survives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "service/encoder.h"
#include "sim/description/document.h"

namespace tlv {

using service::Bytes;

// A word of an element's properties.
struct PropertyWord {
    const char *word;
    uint32_t bit;
};
constexpr PropertyWord kPropertyWords[] = {
    {"vsan", QARN_PROP_VSAN},         {"vlan", QARN_PROP_VLAN},
    {"interface", QARN_PROP_INTF},    {"conditional", QARN_PROP_CONDITIONAL},
    {"placeholder", QARN_PROP_DUMMY}, {"bfd", QARN_PROP_BFD},
    {"l2mp", QARN_PROP_L2MP},         {"fex", QARN_PROP_FEX},
};

// "0x1a"
std::string hexadecimal(uint32_t number);

// A text in quotation marks, or {hex: ...} if it is not UTF-8.
std::string text_in_line(std::string_view text);
// The same, or the lines of the text one below the other with this indentation.
std::string text_in_lines(std::string_view text, std::size_t indentation);
Bytes read_text(const sim::Document &document, const YAML::Node &node, const std::string &what);

// Bytes as a text, as {words: [...]} or as {hex: ...}, whichever shows most.
std::string bytes_in_line(std::string_view bytes);
Bytes read_bytes(const sim::Document &document, const YAML::Node &node, const std::string &what);

} // namespace tlv
