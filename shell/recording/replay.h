// --replay: a recorded command once more, with nothing but its recording.
#pragma once

#include "explain/recording/recording.h"
#include "shell/session.h"

namespace shell {

inline constexpr char kNoMask[] = "--mask cannot hide what is in a recording; use it together with --record";

// Set what the recorded command was given, instead of what the user or the environment says now.
void take_recorded(const explain::recording::Command &command, Options &options);

// Run the recorded command, or the commands of -c. Throws CommandError if the file is no whole recording. Returns the
// exit code.
int replay(const Options &given);

} // namespace shell
