// Which elements a display has: the display of all services, that of a feature, and that of one service.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sim/switch.h"

namespace sim {

struct Place {
    const Service *service;
    const Element *element;
};

// The elements of all services, in the order of the description. A number is a position in that order.
class Elements {
  public:
    static constexpr std::size_t kNone = SIZE_MAX;

    explicit Elements(const Switch &sw);

    const std::vector<Place> &places() const { return places_; }
    std::size_t find(uint32_t uuid, uint32_t id) const; // kNone: no service has it

    // Whether a display of all services asks the service, on the transport or through a function.
    bool is_asked(const Service &service) const { return service.consumer || functions_.contains(service.sap); }
    // Whether the service answers with its elements.
    bool answers(const Service &service) const {
        return service.status == 0 && (!service.is_silent || functions_.contains(service.sap));
    }
    // Whether a display of all services prints the element, if its service answers.
    bool is_printed(const Service &service, const Element &element) const;

  private:
    std::vector<Place> places_;
    std::unordered_map<uint32_t, std::size_t> positions_;
    std::unordered_set<uint32_t> functions_; // SAPs
};

// For each element a number: elements with the same number come together in a display, those with kAbsent are not in
// it.
using Display = std::vector<std::size_t>;
constexpr std::size_t kAbsent = 0;

// The displays of all services and of each service that they do not ask, in one; and those of the features.
std::vector<Display> displays_of(const Switch &sw, const Elements &elements);

} // namespace sim
