// What may come next in a command, for the completions of the user's shell.
#pragma once

#include "shell/session.h"

namespace shell {

// Print one line for each word that may come next in the command of --complete: the word, with a blank if another word
// may follow, then a tab and the word's help. No message is written, because the user is in the middle of a line: if
// the switch cannot be simulated, the names of what it has are missing, and the exit code is that of a wrong
// description.
int print_candidates(Options options);

} // namespace shell
