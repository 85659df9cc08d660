// Running one display command in a process of its own.
#pragma once

#include "shell/command.h"
#include "sim/switch.h"

namespace shell {

// The exit codes of the shell besides an entry point's own 0 and 1.
enum : int { kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 130, kExitBrokenPipe = 141 };

// Run the entry point in a child process that has its own transport handle, and wait for it. Returns the command's
// exit code: the entry point's, or how the child ended when it ended early.
int run_command(sim::Switch &sw, EntryPoint entry, Request &request);

} // namespace shell
