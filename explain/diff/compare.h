// What differs between two displays, element by element.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "explain/diff/parts.h"

namespace explain {

struct Change {
    enum class Kind : uint8_t { kAdded, kRemoved, kChanged, kMoved };
    Kind kind;
    std::string service, element, block; // as in Part
    std::vector<std::string> lines;      // with "- " or "+ " before each
    std::string after_before, after_now; // of a moved part: the one that it follows; empty: it is the first
};
const char *name_of(Change::Kind kind);

// By service, in the order in which the services appear.
std::vector<Change> compare(const std::vector<Part> &before, const std::vector<Part> &now);

} // namespace explain
