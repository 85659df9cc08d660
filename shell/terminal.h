#pragma once

namespace shell {

// Whether terminfo knows the terminal of $TERM.
bool is_known_terminal();

} // namespace shell
