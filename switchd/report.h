// Messages to the user, on standard error.
#pragma once

#include <string_view>

namespace switchd {

// Write "switchd: ", the text and a newline.
void report(std::string_view text);

} // namespace switchd
