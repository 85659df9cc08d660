// All switches that are registered at a NATS server.
#pragma once

#include "shell/session.h"

namespace shell {

// --list-switches: a table of them. Returns the exit code.
int list_switches(const Options &options);

// --each-switch: run the command of -c on each of them, several at a time, and keep the text of each in a file of its
// own. Returns the exit code. Throws CommandError or std::runtime_error if nothing could be done.
int show_each_switch(Options options);

} // namespace shell
