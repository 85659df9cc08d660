// References from one part of a switch description to the services and elements of another part.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "sim/description/document.h"
#include "sim/switch.h"

namespace sim {

// The service that the node names; messages call the node `what`.
Service &service_named(const Document &document, const YAML::Node &node, const std::string &what, Switch &sw);
// The UUID and the element id in a pair [service name or UUID, element id].
std::pair<uint32_t, uint32_t> element_reference(const Document &document, const YAML::Node &node,
                                                const std::string &what, Switch &sw);
// The name of a port profile of the switch.
std::string port_profile_named(const Document &document, const YAML::Node &node, const Switch &sw);

} // namespace sim
