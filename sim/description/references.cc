// References from one part of a switch description to the services and elements of another part. A dependency may refer
// to an element that no service has, so element ids are not looked up.
#include "sim/description/references.h"

#include "sim/notation.h"

namespace sim {

void ServiceNames::check_unique(const Document &document, const Mapping &entry, const Service &service) const {
    const std::string subject = "service " + quoted(service.name);
    if (by_name_.contains(service.name)) document.fail(entry["name"], Error::kDuplicate, subject + " is listed twice");
    if (const auto other = by_sap_.find(service.sap); other != by_sap_.end())
        document.fail(entry["sap"], Error::kDuplicate, subject + " has the SAP of " + quoted(other->second->name));
    if (const auto other = by_uuid_.find(service.uuid); other != by_uuid_.end())
        document.fail(entry["uuid"], Error::kDuplicate, subject + " has the UUID of " + quoted(other->second->name));
}

void ServiceNames::add(const Service &service) {
    by_name_.emplace(service.name, &service);
    by_sap_.emplace(service.sap, &service);
    by_uuid_.emplace(service.uuid, &service);
}

const Service &ServiceNames::named(const Document &document, const YAML::Node &node, const std::string &what) const {
    const std::string name = document.text(node, what);
    const auto found = by_name_.find(name);
    if (found != by_name_.end()) return *found->second;
    left_out_.excuse(name);
    document.fail(node, Error::kUnknownService, what + " names an unknown service " + quoted(name));
}

std::pair<uint32_t, uint32_t> element_reference(const Document &document, const YAML::Node &node,
                                                const std::string &what, const ServiceNames &services) {
    if (!node.IsSequence() || node.size() != 2)
        document.fail(node, Error::kWrongType, what + " must be a pair [service, element id]");
    const bool has_uuid = is_number(document.text(node[0], "the service of " + what));
    const uint32_t uuid = has_uuid ? document.number(node[0], "the UUID of " + what, 0, UINT16_MAX)
                                   : services.named(document, node[0], what).uuid;
    return {uuid, document.number(node[1], "the element id of " + what, 0, UINT16_MAX)};
}

} // namespace sim
