// Services in processes of their own, on this machine or on others, which a NATS server joins to the shell.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "nats/connection.h"
#include "nats/names.h"
#include "sim/switch.h"
#include "transport/answers.h"
#include "transport/presence.h"

namespace transport {

struct Settings {
    nats::Access access = {};
    nats::Place place = {};
    Answers::Bounds bounds = {};
    // Who is registered in this place, as was read shortly before; null: every command reads that itself.
    std::shared_ptr<const Registrations> registered = nullptr;
    // What the user has to know. By default a line on standard error.
    std::function<void(const std::string &)> report = nullptr;
};

// A carrier that connects when a command begins. The services of the current switch are then those that are registered,
// besides those that the switch has and that should be: these are awaited in vain.
std::shared_ptr<sim::Carrier> make_nats_carrier(Settings settings);

// Give the switch the services that are registered. One that it has already gets the name and UUID of the registration.
void add_services(sim::Switch &sw, const Registrations &registered);

} // namespace transport
