// A whole switch, until a signal ends it.
#pragma once

#include "switchd/options.h"

namespace switchd {

// Returns the exit status. Throws nats::Error, UsageError and sim::DescriptionError.
int run(const Options &options);

} // namespace switchd
