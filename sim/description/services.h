// The services of a switch description.
#pragma once

#include "sim/description/document.h"
#include "sim/description/interfaces.h"
#include "sim/switch.h"

namespace sim {

// Read the services with their elements. The interfaces and port profiles must have been read, because elements refer
// to them.
void read_services(const Document &document, const YAML::Node &node, Switch &sw, const Interfaces &interfaces);

} // namespace sim
