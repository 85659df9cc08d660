// Switches by numbers, for the benchmarks. Every service's reply is prepared beforehand, so that a run measures the
// library and the transport's queue only.
#pragma once

#include "sim/switch.h"

namespace bench {

// An element with `keys` keys, and `services` services that each file one line under every key.
void add_keyed(sim::Switch &sw, int keys, int services);

// The VLAN service with `vlans` VLANs, and `services` services that each file one line under every VLAN. Runs of ten
// VLANs have equal lines.
void add_vlans(sim::Switch &sw, int vlans, int services);

} // namespace bench
