// A configuration with the origin of each line.
#pragma once

#include "explain/observation.h"
#include "shell/request.h"
#include "sim/switch.h"

namespace shell {

// In the process of a command: run the entry point, and write to standard output each line of its text with its origin,
// in columns or as JSON objects. Returns the status of the entry point.
uint32_t run_explained(sim::Switch &sw, EntryPoint entry, Request &request);

} // namespace shell
