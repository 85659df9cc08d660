// The clock of the library.
#pragma once

#include <ctime>

namespace sim {

// What the library has last read from the clock, for its header; the present time if it has not.
std::time_t time_of_display();

} // namespace sim
