// The notations that switch descriptions and the command shell share: numbers, names with a range, id ranges.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// A text for a message: control characters, which could act on a terminal, replaced by "?".
std::string printable(std::string_view text);
// A word for a message: in quotes, unprintable characters replaced, cut when it is long.
std::string quoted(std::string_view word);

bool is_number(std::string_view text); // decimal digits only
// The position of the first of the digits that end at `end`; `end` when there are none.
std::size_t start_of_number(std::string_view text, std::size_t end);
// Decimal, or hexadecimal after 0x.
std::optional<uint32_t> to_number(std::string_view text);

// The functions below throw std::invalid_argument, whose what() names the offending word.

// "Ethernet1/1-3,7,port-channel2": names separated by commas, each with a range on its last number; a number or range
// alone continues the name before it.
std::vector<std::string> expand_names(std::string_view names);

struct IdRange {
    uint32_t low, high; // both inclusive
};
// "1-5,7": ranges of `what` (a word for the message) within lowest..highest.
std::vector<IdRange> parse_id_ranges(std::string_view text, std::string_view what, uint32_t lowest, uint32_t highest);

} // namespace sim
