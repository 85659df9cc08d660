// The difference between two configurations, block by block.
#pragma once

#include <cstddef>
#include <string>

namespace shell {

inline constexpr std::size_t kColumnsOfMark = 2; // before each line of a difference

// A block is a line without indentation and the indented lines below it. Lines that only `before` has begin with "- ",
// lines that only `after` has with "+ "; the first line of a block that has changed begins with two blanks. The lines
// of the display's header and empty lines are left out. Empty if there is no difference.
std::string difference_of(const std::string &before, const std::string &after);

} // namespace shell
