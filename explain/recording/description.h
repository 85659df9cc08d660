// The switch of a recording as a switch description (docs/switch-descriptions.md): what the platform can say of it,
// without what the services answer.
#pragma once

#include <string>

#include "sim/switch.h"

namespace explain::recording {

class Mask;

// With a mask, its texts are masked.
std::string describe(const sim::Switch &sw, Mask *mask = nullptr);

} // namespace explain::recording
