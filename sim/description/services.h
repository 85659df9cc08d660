// The services of a switch description.
#pragma once

#include "sim/description/document.h"
#include "sim/description/interfaces.h"
#include "sim/description/references.h"
#include "sim/switch.h"

namespace sim {

// Read the services with their elements, and fill in their names. The interfaces and port profiles must have been read,
// because elements refer to them.
void read_services(const Document &document, const YAML::Node &node, Switch &sw, ServiceNames &names,
                   const Interfaces &interfaces, const PortProfiles &profiles);

} // namespace sim
