// Services in processes of their own, on this machine or on others, which a NATS server joins to the shell.
#pragma once

#include <cstddef>
#include <memory>

#include "nats/connection.h"
#include "nats/names.h"
#include "sim/mts.h"

namespace transport {

struct Settings {
    nats::Access access = {};
    nats::Place place = {};
    int most_waiting = 1 << 20; // messages that have come but were not received; with one more, messages are lost
};

// A carrier that connects when a command begins. The services of the current switch are then those that are registered,
// besides those that the switch has and that should be: these are awaited in vain.
std::shared_ptr<sim::Carrier> make_nats_carrier(Settings settings);

} // namespace transport
