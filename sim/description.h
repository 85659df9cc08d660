// Switch descriptions: a YAML file that says which services, interfaces, VLANs, port profiles and features a switch
// has, and what its services answer. The form of the file is told at the top of switches/leaf.yaml.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"

namespace sim {

// what() is "FILE:LINE: reason", or "FILE: reason" when the file cannot be read.
class DescriptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Fill a fresh switch, and the shell's SAP and feature tables. After an error the switch is half filled.
void load_description(Switch &sw, const std::string &path);
void load_description_text(Switch &sw, const std::string &text, const std::string &name);

// A word as messages repeat it: in quotes, printable, and cut when it is long.
std::string quoted(std::string_view word);

// The two notations below are shared with the command shell. Both functions throw std::invalid_argument, whose what()
// names the offending word.

// "Ethernet1/1-3,7,port-channel2": names separated by commas, each with a range on its last number; a number or range
// alone continues the name before it.
std::vector<std::string> expand_names(std::string_view names);

struct IdRange {
    std::uint32_t low, high; // both inclusive
};
// "1-5,7": ranges of `what` (a word for the message) within lowest..highest.
std::vector<IdRange> parse_id_ranges(std::string_view text, std::string_view what, std::uint32_t lowest,
                                     std::uint32_t highest);

} // namespace sim
