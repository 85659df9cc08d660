// The floor of a command's cost: a program that does, for the same replies, only what any implementation that uses the
// element records must do. It joins the fragments. Per element it makes the platform's record and its entry in the
// store; per dependency its record; per contribution one allocated key, one GString, one entry of a GHashTable, one
// look-up and one append; per block one write. Where services send the same elements, it makes one look-up per element;
// where a feature's keys are printed, each gets its slot and its entry in the list of printed keys. It orders and
// checks nothing, and it merges nothing else.
#pragma once

#include "bench/measure.h"

namespace bench {

void run_floor(const Shape &shape, uint32_t handle, std::FILE *out);

} // namespace bench
