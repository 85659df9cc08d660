// The services of a switch description. Names, SAPs and UUIDs are unique.
#include "sim/description/services.h"

#include <unordered_set>
#include <vector>

#include "sim/description/elements.h"
#include "sim/description/faults.h"
#include "sim/notation.h"
#include "sim/secret.h"

namespace sim {
namespace {

// 0, 1 and 0xffffffff in a request do not select one service.
constexpr uint32_t kFirstSap = 2, kLastSap = 0xfffffffe;

void read_service(const Document &document, const YAML::Node &node, Switch &sw, ServiceNames &names) {
    const Mapping entry(document, node, "a service",
                        {"name", "sap", "uuid", "consumer", "silent", "status", "fragment_size", "delay", "drip",
                         "die_after", "cut", "count", "late", "wrong_sap", "twice", "bad_stamp", "elements"});
    Service service;
    service.line = line_of(node);
    service.name = entry.text("name");
    service.sap = entry.number("sap", kFirstSap, kLastSap);
    service.uuid = entry.number("uuid", 1, UINT16_MAX);
    if (service.name.empty() || is_number(service.name)) {
        document.fail(entry["name"], Error::kWrongValue,
                      "name of a service must be a word, not " + quoted(service.name));
    }
    names.check_unique(document, entry, service);
    service.consumer = entry.flag("consumer", true);
    service.is_silent = entry.flag("silent", false);
    service.status = entry.number("status", 0, UINT32_MAX, 0);
    service.fragment_size = entry.number("fragment_size", 1, UINT32_MAX, 0);
    read_faults(document, entry, service);
    sw.services.push_back(service);
    names.add(sw.services.back());
    sw.names.push_back({"a service", service.name, service.line});
}

void leave_out(const YAML::Node &node, ServiceNames &names) {
    const bool has_name = node.IsMap() && node["name"].IsDefined() && node["name"].IsScalar();
    if (has_name) {
        names.left_out().add(node["name"].Scalar());
    } else {
        names.left_out().add_unknown();
    }
}

// A check also reads the elements of a service that it leaves out.
void read_elements(const Document &document, const YAML::Node &entry, Service *service, const ElementContext &context) {
    if (!entry.IsMap() || !entry["elements"].IsDefined() || entry["elements"].IsNull()) return;
    Service left_out;
    Service &owner = service != nullptr ? *service : left_out;
    std::unordered_set<uint32_t> ids;
    document.each_item(entry["elements"], "elements",
                       [&](const YAML::Node &element) { read_element(document, element, owner, ids, context); });
}

// Interfaces that inherit a port profile show its lines too.
void note_secret_profiles(const Service &service, Switch &sw) {
    for (const Element &element : service.elements) {
        if (!element.secret || element.port_profile.empty()) continue;
        hide_profile(sw, element.port_profile, *element.secret);
    }
}

} // namespace

void read_services(const Document &document, const YAML::Node &node, Switch &sw, ServiceNames &names,
                   const Interfaces &interfaces, const PortProfiles &profiles) {
    sw.services_line = line_of(node);
    std::vector<Service *> read; // null for a service with an error
    document.each_item(node, "services", [&](const YAML::Node &entry) {
        const bool is_read = document.attempt([&] { read_service(document, entry, sw, names); });
        if (!is_read) leave_out(entry, names);
        read.push_back(is_read ? &sw.services.back() : nullptr);
    });
    // Elements refer to services by name, also to services that are listed later.
    auto next = read.begin();
    document.each_item(node, "services", [&](const YAML::Node &entry) {
        Service *const service = *next++;
        if (service != nullptr && sw.wants_elements && !sw.wants_elements(service->name)) return;
        const std::size_t failed_before = document.num_failed();
        read_elements(document, entry, service, {names, interfaces, profiles});
        if (service == nullptr) return;
        if (document.num_failed() == failed_before) check_faults(document, entry, *service);
        note_secret_profiles(*service, sw);
    });
}

} // namespace sim
