// What the outcome of a command means to a user.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/switch.h"

namespace shell {

// A service, or something else, which only has a reason why it is missing.
struct Part {
    std::string service = {}; // its name; empty if the switch has no service with this SAP
    uint32_t sap = 0;         // 0: no service
    std::string reason = {};
};

// An element of a loop.
struct Member {
    std::string service; // its name, or its UUID if the switch has no such service
    uint32_t element = 0;
};

struct Verdict {
    int code = 0;               // exit code of the command
    std::vector<Part> answered; // the services whose configuration is all there; without a reason
    std::vector<Part> missing;
    std::vector<std::string> store_problems; // which were reported before
    std::vector<Member> loop;                // elements of which each waits for the next one, the last for the first
    std::string refusal;                     // why nothing was shown; empty otherwise, or if that was reported before
};

// What the outcome of the last command means.
Verdict verdict_on(const sim::Switch &sw);

} // namespace shell
