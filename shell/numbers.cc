#include "shell/numbers.h"

#include <string>

#include "shell/command_error.h"
#include "sim/notation.h"

namespace shell {

uint32_t number_in(std::string_view argument, std::string_view text, const char *what) {
    const auto number = sim::is_number(text) ? sim::to_number(text) : std::nullopt;
    if (!number) throw CommandError(std::string("needs ") + what + ", not " + sim::quoted(argument), argument);
    return *number;
}

} // namespace shell
