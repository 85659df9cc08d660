// The parts of a switch description that fill the platform's tables: in-process services and features. Both refer to
// services, so the services must have been read.
#pragma once

#include "sim/description/document.h"
#include "sim/description/references.h"
#include "sim/switch.h"

namespace sim {

// Rows of the callback table.
void read_in_process(const Document &document, const YAML::Node &node, Switch &sw, const ServiceNames &services);
// Rows of the shell's SAP table and feature table.
void read_features(const Document &document, const YAML::Node &node, Switch &sw, const ServiceNames &services);

} // namespace sim
