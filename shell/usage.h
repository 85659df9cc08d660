// The list of all commands for the help.
#pragma once

#include <string>

namespace shell {

std::string list_of_commands();

} // namespace shell
