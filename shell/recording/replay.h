// --replay: a recorded command once more, with nothing but its recording.
#pragma once

#include "shell/session.h"

namespace shell {

// Run the recorded command, or the commands of -c. Throws CommandError if the file is no whole recording. Returns the
// exit code.
int replay(const Options &given);

} // namespace shell
