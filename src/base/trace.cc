// Debug traces: formatted to standard output and flushed at once, so that they keep their place between the lines of
// the platform's output routine.
#include "base/trace.h"

#include <cstdarg>
#include <cstdio>

namespace qarn {

void trace(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stdout, format, arguments);
    va_end(arguments);
    std::fflush(stdout);
}

} // namespace qarn
