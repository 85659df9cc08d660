// Texts on a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace sim {

// Whether a character controls a terminal or turns the direction in which it shows a text.
bool is_control(uint32_t character);

std::string replace_controls(std::string_view text, const std::function<std::string(uint32_t control)> &replacement);
// A text in which every such character is visible: "^[", "\x9b" or "\u202e". Those of `kept` stay.
std::string visible(std::string_view text, std::string_view kept = "");
bool has_control(std::string_view text);

// How many columns a terminal needs for a text without control characters.
std::size_t columns_of(std::string_view text);

} // namespace sim
