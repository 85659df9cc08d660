#include "shell/terminal.h"

#include <termcap.h>

#include <cstdlib>

namespace shell {

bool is_known_terminal() {
    const char *const name = std::getenv("TERM");
    return name != nullptr && tgetent(nullptr, name) == 1;
}

} // namespace shell
