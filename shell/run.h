// Execution of one command in a process of its own.
#pragma once

#include "shell/command.h"
#include "sim/switch.h"

namespace shell {

// The exit codes of the shell besides an entry point's own 0 and 1.
enum : int { kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 130, kExitBrokenPipe = 141 };

// Write out what standard output has buffered; false, after a message, if not all of the output could be written.
bool flush_output();

// Run the entry point in a child process with a transport handle of its own, and wait for it. Returns the entry point's
// status, or an exit code for the way in which the child ended early.
int run_command(sim::Switch &sw, EntryPoint entry, Request &request);

} // namespace shell
