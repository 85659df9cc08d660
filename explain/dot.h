// The elements and their dependencies as a picture for Graphviz.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "explain/elements.h"
#include "explain/names.h"

namespace explain {

// Which elements are shown; without any choice, those that have dependencies or are named in one.
struct Selection {
    std::optional<uint32_t> level;
    std::optional<std::string> service; // those that it sent
    struct Around {
        Key element;
        uint32_t steps;
    };
    std::optional<Around> around; // what is at most so many dependencies away, in both directions
};

// Levels are clusters, services have colors. A dependency that is a condition is dashed, one on an element that nobody
// sent is red, and one of a loop is bold.
std::string dot_of(const Elements &elements, const Names &names, const Selection &selection);

} // namespace explain
