// Where each part of a printed text comes from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/stream.h"
#include "explain/subject.h"

namespace explain {

enum class Rule : uint8_t {
    kNotice,        // of the library or the platform
    kHeader,        // of the display
    kSeparator,     // an empty line between levels, or at the end
    kOwnText,       // of an element
    kConvertedText, // own text, as the display conversion shows it
    kInterfaceLine,
    kInterfaceText, // what an element has for the interface
    kCommand,       // a command message, rendered by the shell
    kMerge,         // a block that the platform has made from the elements' texts and a port profile
    kKeyHeader,
    kKeyString, // filed under a key header
    kVlanLine,  // of a group of VLANs with the same text
    kVlanText,  // filed under each VLAN of the group
    kSwitchProfile,
    kSavedText // that was saved without elements
};
inline constexpr Rule kLastRule = Rule::kSavedText;
const char *name_of(Rule rule);

// A part of the text. All pieces together are the text.
struct Piece {
    std::size_t size; // in bytes
    Rule rule;
    bool has_element; // whose text it is; otherwise nobody's alone
    Key element;
    Key printed_by;   // the element in whose turn it was printed: a block, or one with keys
    uint32_t level;   // of `element`
    uint32_t senders; // position in Origins::senders
    uint32_t context; // position in Origins::contexts: the interface, key header or VLANs
};

struct Origins {
    std::vector<Piece> pieces;
    std::vector<std::vector<uint32_t>> senders; // SAPs that sent the element; the first one is empty
    std::vector<std::string> contexts;          // without newlines; the first one is empty
};

// To be called after the command, in its process: reads the library's tables and queues, which the next command makes
// anew.
Origins find_origins(const Subject &subject);

} // namespace explain
