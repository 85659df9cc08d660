// The floor of a command's cost: a program that does, for the same replies, only what any implementation that uses the
// element records must do. It joins the fragments. Per element it makes the platform's record and its entry in the
// store; per contribution one allocated key, one GString, one entry of a GHashTable, one look-up and one append; per
// block one write. It orders, filters, merges and checks nothing.
#pragma once

#include "bench/measure.h"

namespace bench {

void run_floor(const Shape &shape, uint32_t handle, std::FILE *out);

} // namespace bench
