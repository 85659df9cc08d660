// Masking of secret elements: each line of their texts keeps its first words, and `<hidden>` takes the place of the
// rest. A service masks what it sends, so that no display, file, filter or trace has what is hidden.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/switch.h"

namespace sim {

// The text with `words` words in each line. Words are separated by blanks and tabs. A line with no more words than that
// stays as it is.
std::string without_secrets(std::string_view text, uint32_t words);
// A secret element with all its texts masked. The names and headers of keys stay, because other elements refer to them.
Element without_secrets(Element element);

// Hide the lines of a port profile, as far as its secret elements do: the smallest number of words counts.
void hide_profile(Switch &sw, const std::string &profile, uint32_t words);

bool has_secrets(const Switch &sw);

} // namespace sim
