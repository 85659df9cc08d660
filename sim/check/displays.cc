// A display has the elements of the services that it asks and that answer, as far as its feature lists them and the
// condition of an element holds there.
#include "sim/check/displays.h"

#include <algorithm>

namespace sim {
namespace {

// Element ids and UUIDs have 16 bits.
uint32_t key_of(uint32_t uuid, uint32_t id) {
    return uuid << 16 | id;
}

bool is_conditional(const Element &element) {
    return (element.property & QARN_PROP_CONDITIONAL) != 0;
}

// Whether `holds` accepts the position of one of the element's conditions.
template <typename Holds>
bool any_condition(const Elements &elements, const Element &element, Holds holds) {
    return std::ranges::any_of(element.dependencies, [&](const Dependency &condition) {
        if (condition.type != QARN_DEP_CONDITIONAL) return false;
        const std::size_t at = elements.find(condition.uuid, condition.elem_id);
        return at != Elements::kNone && !elements.places()[at].element->text.empty() && holds(at);
    });
}

// The numbers of the elements; a condition holds if its element comes together with the one that has it.
template <typename NumberOf>
Display display_of(const Elements &elements, NumberOf number_of) {
    Display answered(elements.places().size(), kAbsent);
    for (std::size_t at = 0; at < answered.size(); ++at) {
        const Place &place = elements.places()[at];
        if (elements.answers(*place.service)) answered[at] = number_of(place);
    }
    Display display = answered;
    for (std::size_t at = 0; at < display.size(); ++at) {
        const Element &element = *elements.places()[at].element;
        const auto comes_too = [&](std::size_t condition) { return answered[condition] == answered[at]; };
        if (is_conditional(element) && !any_condition(elements, element, comes_too)) display[at] = kAbsent;
    }
    return display;
}

bool has(const Feature &feature, const Place &place) {
    return std::ranges::find(feature.saps, place.service->sap) != feature.saps.end() &&
           std::ranges::any_of(feature.elements, [&](const ElementReference &shown) {
               return shown.uuid == place.service->uuid && (shown.id == 0 || shown.id == place.element->id);
           });
}

} // namespace

Elements::Elements(const Switch &sw) {
    for (const InProcess &row : sw.in_process)
        functions_.insert(row.sap);
    for (const Service &service : sw.services) {
        for (const Element &element : service.elements) {
            positions_.emplace(key_of(service.uuid, element.id), places_.size());
            places_.push_back({&service, &element});
        }
    }
}

std::size_t Elements::find(uint32_t uuid, uint32_t id) const {
    const auto found = positions_.find(key_of(uuid, id));
    return found != positions_.end() ? found->second : kNone;
}

bool Elements::is_printed(const Service &service, const Element &element) const {
    if (!is_asked(service)) return false;
    const auto is_asked_too = [this](std::size_t condition) { return is_asked(*places_[condition].service); };
    return !is_conditional(element) || any_condition(*this, element, is_asked_too);
}

std::vector<Display> displays_of(const Switch &sw, const Elements &elements) {
    constexpr std::size_t kTogether = 1, kAlone = 2;
    std::vector<Display> displays = {display_of(elements, [&](const Place &place) {
        return elements.is_asked(*place.service) ? kTogether : kAlone + place.service->uuid;
    })};
    for (const auto &entry : sw.features) {
        const Feature &feature = entry.second;
        displays.push_back(
            display_of(elements, [&](const Place &place) { return has(feature, place) ? kTogether : kAbsent; }));
    }
    return displays;
}

} // namespace sim
