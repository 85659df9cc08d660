// The process that runs an entry point of the library.
#pragma once

#include "shell/deadline.h"
#include "shell/request.h"
#include "sim/switch.h"

namespace shell {

// Where the process of a command writes besides standard output.
struct Descriptors {
    int report;        // the exit code
    int messages = -1; // what it reports after its text, instead of standard error
    int outcome = -1;  // as members of a JSON object
};

// In the environment of the shells that the display of all VDCs starts: each message names the VDC; and what comes
// before the header goes to standard error.
inline constexpr char kVariableOfPlace[] = "VSH_NAMES_VDC", kVariableOfMessages[] = "VSH_MESSAGES_APART";

// In a process of its own: run the entry point with a transport handle of its own, write its text to standard output
// and its exit code to `to.report`, and end the process.
[[noreturn]] void run_entry_process(sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to,
                                    const Deadline &deadline);

} // namespace shell
