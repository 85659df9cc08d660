// Which process of which machine, so that others on the machine notice its end.
#pragma once

#include <cstdint>
#include <string>

namespace nats {

struct ProcessIdentity {
    std::string machine = {}; // start of the machine, and the namespace in which the number is valid; empty: unknown
    int64_t pid = 0;
    uint64_t started = 0; // in clock ticks since the start of the machine
};

ProcessIdentity own_process();

// Whether the process was one of this machine, and has ended. Another process may have its number by now.
bool has_ended_here(const ProcessIdentity &process);

} // namespace nats
