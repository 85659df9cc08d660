// The subjects of the checks, each in the source file of its name.
#pragma once

#include "sim/check/report.h"
#include "sim/switch.h"

namespace sim {

void check_consumers(const Switch &sw, Report &report);
void check_doubles(const Switch &sw, Report &report);
void check_features(const Switch &sw, Report &report);
void check_in_process(const Switch &sw, Report &report);
void check_interfaces(const Switch &sw, Report &report);
void check_key_strings(const Switch &sw, Report &report);
void check_keys(const Switch &sw, Report &report);
void check_names(const Switch &sw, Report &report);
void check_order(const Switch &sw, Report &report);
void check_secrets(const Switch &sw, Report &report);

} // namespace sim
