// A command that has ended, as far as it can be explained: what was observed, who sent what, and who is called how. The
// library's tables and queues are still those of this command.
#pragma once

#include "explain/names.h"
#include "explain/observation.h"
#include "explain/senders.h"
#include "sim/switch.h"

namespace explain {

struct Subject {
    // Both must live longer.
    Subject(const Observation &seen, const sim::Switch &sw_of_command)
        : observation(seen), sw(sw_of_command), senders(seen), names(sw_of_command, senders) {}

    const Observation &observation;
    const sim::Switch &sw;
    const Senders senders;
    const Names names;
};

} // namespace explain
