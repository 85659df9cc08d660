// Files that bear the name of a switch.
#pragma once

#include <string>

namespace shell {

// The path of FOLDER/NAME and the ending. A name with other characters than letters, digits, '.', '-' and '_' is
// escaped.
std::string file_of_switch(const std::string &folder, const std::string &name, const char *ending);

} // namespace shell
