// Numbers among the words of a command.
#pragma once

#include <cstdint>
#include <string_view>

namespace shell {

// `text` is the number in the argument, or a part of it; `what` says what is needed. Throws CommandError.
uint32_t number_in(std::string_view argument, std::string_view text, const char *what);

} // namespace shell
