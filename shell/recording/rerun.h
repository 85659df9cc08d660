// The display of a recording, without showing it.
#pragma once

#include <memory>
#include <string>

#include "explain/recording/recording.h"
#include "shell/session.h"

namespace shell {

struct Rerun {
    std::string text;
    int code; // exit code
};

// Run the display of a recording on the session's switch, which must be the recorded one, in a process of its own. The
// events may be others than those that were recorded, such as the same messages in another order. Nothing is reported.
// Throws CommandError if the recording is of no display, std::runtime_error where it cannot be run.
Rerun run_again(Session &session, const std::shared_ptr<const explain::recording::Recording> &recording);

} // namespace shell
