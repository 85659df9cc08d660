// Debug traces on standard output, switched by the bits of the global `debug`. Traces that are part of the generated
// output go through csm_qarn_sp_print instead.
#pragma once

#include <qarncli/globals.h>
#include <qarncli/status.h>

namespace qarn {

inline bool debugging(uint32_t bit) {
    return (debug & bit) != 0;
}

// Write to standard output and flush. Callers test debugging() first, so that a disabled trace costs one load.
[[gnu::format(printf, 1, 2)]] void trace(const char *format, ...);

} // namespace qarn
