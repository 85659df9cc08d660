// The words of messages, and the names that the VLAN displays use.
#include "sim/check/report.h"

#include <utility>

#include "sim/notation.h"

namespace sim {

void Report::warn(const char *name, uint32_t line, const std::string &message, const std::string &advice) {
    findings_.push_back({Severity::kWarning, name, line, printable(message), printable(advice)});
}

std::string name_of(const Service &service, const Element &element) {
    return service.name + "/" + std::to_string(element.id);
}

std::string shown(std::string_view name) {
    std::string escaped;
    for (const char c : name)
        escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    return quoted(escaped);
}

std::string and_more(const std::string &first, std::size_t count) {
    return count < 2 ? first : first + " (and " + std::to_string(count - 1) + " more)";
}

bool lists_vlans(const Service &service, const Element &element) {
    return service.uuid == QARN_UUID_VLAN && (element.id == kVlans || element.id == kVlanConfigurations);
}

std::string vlan_line(const Element &element, uint32_t vlan) {
    return (element.id == kVlans ? "vlan " : "vlan configuration ") + std::to_string(vlan) + "\n";
}

} // namespace sim
