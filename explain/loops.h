// Elements that wait for each other, so that no order prints them all.
#pragma once

#include <vector>

#include "explain/elements.h"

namespace explain {

struct Loop {
    Pass pass;                      // the first one that meets it
    std::vector<std::size_t> cycle; // each element waits for the next one, the last one for the first
};

// For each group of elements that wait for each other, one of the shortest cycles in it. No element that only waits for
// a loop, or is only awaited by one, is in it.
std::vector<Loop> find_loops(const Elements &elements);

} // namespace explain
