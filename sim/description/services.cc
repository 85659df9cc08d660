// The services of a switch description. Names, SAPs and UUIDs are unique.
#include "sim/description/services.h"

#include "sim/description/elements.h"
#include "sim/description/faults.h"
#include "sim/notation.h"

namespace sim {
namespace {

// 0, 1 and 0xffffffff in a request do not select one service.
constexpr uint32_t kFirstSap = 2, kLastSap = 0xfffffffe;

void check_unique(const Document &document, const Mapping &entry, const Service &service, const Switch &sw) {
    const std::string subject = "service " + quoted(service.name);
    for (const Service &other : sw.services) {
        if (other.name == service.name) document.fail(entry["name"], subject + " is listed twice");
        if (other.sap == service.sap) document.fail(entry["sap"], subject + " has the SAP of " + quoted(other.name));
        if (other.uuid == service.uuid)
            document.fail(entry["uuid"], subject + " has the UUID of " + quoted(other.name));
    }
}

void read_service(const Document &document, const YAML::Node &node, Switch &sw) {
    const Mapping entry(document, node, "a service",
                        {"name", "sap", "uuid", "consumer", "silent", "status", "fragment_size", "delay", "drip",
                         "die_after", "cut", "count", "late", "wrong_sap", "twice", "bad_stamp", "elements"});
    Service service;
    service.name = entry.text("name");
    service.sap = entry.number("sap", kFirstSap, kLastSap);
    service.uuid = entry.number("uuid", 1, UINT16_MAX);
    if (service.name.empty() || is_number(service.name))
        document.fail(entry["name"], "name of a service must be a word, not " + quoted(service.name));
    check_unique(document, entry, service, sw);
    service.consumer = entry.flag("consumer", true);
    service.is_silent = entry.flag("silent", false);
    service.status = entry.number("status", 0, UINT32_MAX, 0);
    service.fragment_size = entry.number("fragment_size", 1, UINT32_MAX, 0);
    read_faults(document, entry, service);
    sw.services.push_back(service);
}

} // namespace

void read_services(const Document &document, const YAML::Node &node, Switch &sw, const Interfaces &interfaces) {
    document.each_item(node, "services", [&](const YAML::Node &entry) { read_service(document, entry, sw); });
    // Elements refer to services by name, also to services that are listed later.
    auto service = sw.services.begin();
    document.each_item(node, "services", [&](const YAML::Node &entry) {
        document.each_item(entry["elements"], "elements", [&](const YAML::Node &element) {
            read_element(document, element, *service, sw, interfaces);
        });
        check_faults(document, entry, *service);
        ++service;
    });
}

} // namespace sim
