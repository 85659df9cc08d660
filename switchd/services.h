// The services of a described switch, in all its VDCs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "nats/names.h"
#include "switchd/options.h"

namespace switchd {

struct Service {
    std::string file = {}; // the description that it is in
    nats::Place place = {};
    std::string name = {};
    uint32_t sap = 0;
    bool consumer = true;
};

// Throws sim::DescriptionError and UsageError.
std::vector<Service> services_of(const Options &options);

// Those that the options name. Throws UsageError if one of the names is of no service.
std::vector<Service> chosen(const std::vector<Service> &services, const std::vector<std::string> &names);

std::string describe(const Service &service); // for messages

} // namespace switchd
