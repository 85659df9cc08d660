// The elements of a service in a switch description.
#pragma once

#include "sim/description/document.h"
#include "sim/description/interfaces.h"
#include "sim/switch.h"

namespace sim {

// Read one element into its service. All services must already have their names, because dependencies refer to them.
void read_element(const Document &document, const YAML::Node &node, Service &service, Switch &sw,
                  const Interfaces &interfaces);

} // namespace sim
