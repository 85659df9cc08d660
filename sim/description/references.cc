// References from one part of a switch description to the services and elements of another part. A dependency may refer
// to an element that no service has, so element ids are not looked up.
#include "sim/description/references.h"

#include "sim/notation.h"

namespace sim {

Service &service_named(const Document &document, const YAML::Node &node, const std::string &what, Switch &sw) {
    const std::string name = document.text(node, what);
    Service *service = sw.find_service(name);
    if (service == nullptr) document.fail(node, what + " names an unknown service " + quoted(name));
    return *service;
}

std::pair<uint32_t, uint32_t> element_reference(const Document &document, const YAML::Node &node,
                                                const std::string &what, Switch &sw) {
    if (!node.IsSequence() || node.size() != 2) document.fail(node, what + " must be a pair [service, element id]");
    const bool has_uuid = is_number(document.text(node[0], "the service of " + what));
    const uint32_t uuid = has_uuid ? document.number(node[0], "the UUID of " + what, 0, UINT16_MAX)
                                   : service_named(document, node[0], what, sw).uuid;
    return {uuid, document.number(node[1], "the element id of " + what, 0, UINT16_MAX)};
}

std::string port_profile_named(const Document &document, const YAML::Node &node, const Switch &sw) {
    std::string name = document.text(node, "port_profile");
    if (!sw.port_profiles.contains(name)) document.fail(node, "unknown port profile " + quoted(name));
    return name;
}

} // namespace sim
