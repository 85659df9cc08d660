// The limit that the tables set: for the same replies only what any implementation on the element records must do. The
// fragments are joined; per element there is the platform's record and its entry in the store, per contribution one
// allocated key, one GString, one entry of a GHashTable, one look-up and one append; per block there is one write.
// Nothing is ordered, filtered, merged or checked.
#pragma once

#include "bench/measure.h"

namespace bench {

void run_limit(const Shape &shape, std::uint32_t handle, std::FILE *out);

} // namespace bench
