// The faults of a service in a switch description.
#pragma once

#include "sim/description/document.h"
#include "sim/service.h"

namespace sim {

// Read the fault keywords of an entry whose other keys the service already has.
void read_faults(const Document &document, const Mapping &entry, Service &service);
// Check the faults that depend on the elements of the service.
void check_faults(const Document &document, const YAML::Node &entry, const Service &service);

} // namespace sim
