// Measuring one command: its CPU time in a process of its own, so that nothing of an earlier run is left.
#pragma once

#include <functional>
#include <vector>

#include "sim/switch.h"

namespace bench {

// CPU seconds of "show running-config" on a switch that `fill` describes, without the time that filling takes. The
// output goes to a null device.
double command_cpu(const std::function<void(sim::Switch &)> &fill);

double median(std::vector<double> values);

} // namespace bench
