// The commands of a session, one after the other.
#pragma once

#include "shell/session.h"

namespace shell {

// Run the commands that the options give, those of a script, or those of standard input, where a user may type them.
// Returns the worst of their exit codes. Throws CommandError for options that do not fit together, and
// std::runtime_error.
int run_commands(Session &session);

} // namespace shell
