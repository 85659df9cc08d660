// The switch object itself: which one is current, and the look-ups by name and index that the platform services share.
#include "sim/switch.h"

#include <algorithm>
#include <utility>

namespace sim {
namespace {

Switch *made_current = nullptr;

} // namespace

Switch &current() {
    // Never destroyed: the library may still be called while the process ends.
    static auto *const empty = new Switch;
    return made_current != nullptr ? *made_current : *empty;
}

void make_current(Switch *sw) {
    made_current = sw;
}

Fact Switch::learn(FactKind kind, const std::function<Fact()> &find) {
    Fact fact = facts ? facts->next(kind) : find();
    for (Observer *observer : observers)
        observer->learned(fact);
    return fact;
}

Service &Switch::service(std::string service_name, uint32_t sap, uint32_t uuid) {
    Service &added = services.emplace_back();
    added.name = std::move(service_name);
    added.sap = sap;
    added.uuid = uuid;
    return added;
}

Service *Switch::find_service(std::string_view wanted) {
    const auto found = std::ranges::find(services, wanted, &Service::name);
    return found != services.end() ? &*found : nullptr;
}

const Interface *Switch::find_interface(uint32_t index) const {
    if (num_positioned != interfaces.size()) {
        positions.clear();
        for (std::size_t i = 0; i < interfaces.size(); ++i)
            positions.emplace(interfaces[i].index, i);
        num_positioned = interfaces.size();
    }
    const auto known = positions.find(index);
    if (known != positions.end() && interfaces[known->second].index == index) return &interfaces[known->second];
    // Unknown, or the index of an interface was changed in place.
    const auto found = std::ranges::find(interfaces, index, &Interface::index);
    return found != interfaces.end() ? &*found : nullptr;
}

const Interface *Switch::find_interface(std::string_view wanted) const {
    const auto has_name = [&](const Interface &interface) {
        return interface.name.size() == wanted.size() &&
               g_ascii_strncasecmp(interface.name.data(), wanted.data(), wanted.size()) == 0;
    };
    const auto found = std::ranges::find_if(interfaces, has_name);
    return found != interfaces.end() ? &*found : nullptr;
}

} // namespace sim
