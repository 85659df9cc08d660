// What a program gave to open a service.
#pragma once

#include <qarnservice/service.h>

#include <cstddef>

#include "nats/connection.h"
#include "nats/registry.h"

namespace service {

struct Settings {
    nats::Access access;
    nats::Registration registration;
    std::size_t max_data; // of a message, in bytes
};

// Throws Refusal, which names the option that is wrong.
Settings settings_of(const qarn_service_options &options);

} // namespace service
