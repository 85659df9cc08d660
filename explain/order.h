// Why an element is printed where it is.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "explain/elements.h"

namespace explain {

// Whether a dependency of an element counts in its level, and if not, why.
enum class Standing : uint8_t {
    kCounts,
    kMet,         // a condition whose element has text
    kNotMet,      // a condition whose element has no text
    kNobodySent,  // no service has sent the element
    kLowerLevel,  // the other one is printed before in any case: an order counts within a level only
    kHigherLevel, // the other one is printed later, against the order
    kLeftOut,     // the condition of the other element is not met
    kOtherType    // neither an order nor a condition
};
// The reason in words; empty if the dependency counts.
const char *text_of(Standing standing);

struct Judged {
    std::size_t element; // whose dependency it is
    Dependency dependency;
    Standing standing;
};

// The place of an element in its level. A level is ordered in sweeps: each sweep goes through the elements in
// the order of their keys and takes those that wait for none that is still to be taken.
struct Place {
    bool is_printed = false;                 // it takes part, is no placeholder, and its level is printed
    std::optional<uint32_t> sweep;           // from 1; none: it waits for a loop
    std::size_t position = 0;                // in the level, from 1
    std::size_t count = 0;                   // elements of the level that take part
    std::optional<std::size_t> held_back_by; // the predecessor that decided the sweep
    std::vector<Judged> waits_for;           // all its dependencies
    std::vector<Judged> awaited_by;          // dependencies on it
};

Place find_place(const Elements &elements, std::size_t at);
// Those of all elements, in their order. An element of a level that is not printed has no sweep.
std::vector<Place> find_places(const Elements &elements);

} // namespace explain
