// The words of a line, and its parts between the bars.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace shell {

using Words = std::vector<std::string_view>; // parts of a line

bool is_blank(unsigned char c);
Words words_of(std::string_view line);
std::string_view without_blanks_around(std::string_view text);

bool is_quotation_mark(char c);
// The position after the closing one of two quotation marks, or npos. A backslash protects one of "...".
std::size_t end_of_quotation(std::string_view text, std::size_t begin);

// Divides a line at its bars outside of quotation marks: at the first one, wherever it is, and at each further one that
// follows a blank, so that "include a|b" is one filter.
Words parts_of(std::string_view line);

} // namespace shell
