// The switch object itself: which one is current, how a call of the library is recorded and scripted, and the look-ups
// by name and index that the platform services share.
#include "sim/switch.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <utility>

namespace sim {

namespace {

Switch *made_current = nullptr;

std::string format_text(const char *format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

} // namespace

Switch &current() {
    // Never destroyed: the library may still be called while the process ends.
    static Switch *const empty = new Switch;
    return made_current != nullptr ? *made_current : *empty;
}

void make_current(Switch *sw) {
    made_current = sw;
}

std::optional<Outcome> Switch::enter(const char *function, const char *format, ...) {
    if (recording) {
        va_list args;
        va_start(args, format);
        record(std::string(function) + '(' + format_text(format, args) + ')');
        va_end(args);
    }
    return take_outcome(function);
}

void Switch::record(const std::string &call) {
    calls.push_back(call);
    if (on_call) on_call(call);
}

std::optional<Outcome> Switch::take_outcome(const char *function) {
    if (scripted.empty()) return {};
    const auto found = scripted.find(function);
    if (found == scripted.end() || found->second.empty()) return {};
    if (found->second.front().after-- > 0) return {};
    const Outcome outcome = found->second.front();
    found->second.pop_front();
    if (found->second.empty()) scripted.erase(found);
    if (outcome.error != 0) errno = outcome.error;
    return outcome;
}

Service &Switch::service(std::string service_name, std::uint32_t sap, std::uint32_t uuid) {
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

const Interface *Switch::find_interface(std::uint32_t index) const {
    if (num_positioned != interfaces.size()) {
        positions.clear();
        for (std::size_t i = 0; i < interfaces.size(); ++i)
            positions.emplace(interfaces[i].index, i);
        num_positioned = interfaces.size();
    }
    const auto known = positions.find(index);
    if (known != positions.end() && interfaces[known->second].index == index) return &interfaces[known->second];
    // Unknown, or an interface that has been given another index in place.
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
