// The file of --record.
#pragma once

#include <string>

#include "shell/held_output.h"
#include "shell/line.h"
#include "shell/request.h"
#include "shell/session.h"

namespace shell {

class RecordingFile {
  public:
    // Lets the process of the command write here. Throws std::runtime_error where that is impossible.
    RecordingFile(Session &session, const Line &line, Request &request);

    // Bring the recording to its place when the command has ended, unless it is not whole. Returns the command's exit
    // code, or a worse one.
    int publish(int result);

  private:
    HeldOutput file_;
};

} // namespace shell
