// Execution of one command in a process of its own.
#pragma once

#include "shell/deadline.h"
#include "shell/exit_code.h"
#include "shell/output.h"
#include "shell/request.h"
#include "sim/switch.h"

namespace shell {

// Write out what standard output has buffered; false, after a message, if not all of the output could be written.
bool flush_output();

// Run the entry point in a child process with a transport handle of its own, and wait for it. Its text goes to the
// descriptor `destination`, through another child if the output has work to do. Returns the command's exit code, or one
// for the way in which a child ended early. At the deadline the command stops waiting for services; if it still does
// not end, it is killed.
int run_command(sim::Switch &sw, EntryPoint entry, Request &request, const Output &output, int destination,
                const Deadline &deadline);

// Show a text that is in a file on standard output, until the deadline. Returns the exit code for that.
int show_text(int text, const Output &output, const Deadline &deadline);

// `copy running-config startup-config` as an entry point: save the running configuration and report that. Returns 0, or
// 1 after a message on standard error.
uint32_t copy_running_to_startup(qarn_req *req);

} // namespace shell
