// The elements of a service in a switch description.
#pragma once

#include <unordered_set>

#include "sim/description/document.h"
#include "sim/description/interfaces.h"
#include "sim/description/references.h"
#include "sim/switch.h"

namespace sim {

// What elements refer to. All services must already have their names.
struct ElementContext {
    const ServiceNames &services;
    const Interfaces &interfaces;
    const PortProfiles &profiles;
};

// Read one element into its service; `ids` are those of the elements before it.
void read_element(const Document &document, const YAML::Node &node, Service &service, std::unordered_set<uint32_t> &ids,
                  const ElementContext &context);

} // namespace sim
