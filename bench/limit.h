// The limit that the tables set: for the same replies only what any implementation on the element records must do. Per
// contribution one allocated key, one GString, one entry of a GHashTable, one look-up and one append; per element one
// record of the platform; per block one write. Nothing is ordered, filtered, merged or checked.
#pragma once

#include "bench/measure.h"

namespace bench {

void run_limit(const Shape &shape, std::uint32_t handle, std::FILE *out);

} // namespace bench
