#include "switchd/services.h"

#include <algorithm>

#include "sim/description.h"
#include "sim/notation.h"
#include "switchd/usage.h"

namespace switchd {
namespace {

void load(sim::Switch &sw, const std::string &file) {
    sim::make_current(&sw);
    sim::load_description(sw, file);
    sim::make_current(nullptr);
}

void add_services(std::vector<Service> &services, const sim::Switch &sw, const std::string &file,
                  const nats::Place &place) {
    for (const sim::Service &service : sw.services)
        services.push_back({file, place, service.name, service.sap, service.consumer});
}

} // namespace

std::vector<Service> services_of(const Options &options) {
    sim::Switch sw;
    load(sw, options.switch_file);
    const std::string name = options.switch_name.value_or(sw.name), fault = fault_of_name(name);
    if (!fault.empty()) throw UsageError(options.switch_file + ": " + fault);
    std::vector<Service> services;
    for (const sim::Vdc &vdc : sw.vdcs) {
        if (!vdc.active) continue;
        const nats::Place place{name, std::to_string(vdc.id)};
        if (vdc.switch_file.empty()) {
            add_services(services, sw, options.switch_file, place);
            continue;
        }
        sim::Switch other;
        load(other, vdc.switch_file);
        add_services(services, other, vdc.switch_file, place);
    }
    return services;
}

std::vector<Service> chosen(const std::vector<Service> &services, const std::vector<std::string> &names) {
    if (names.empty()) return services;
    std::vector<Service> some;
    for (const std::string &name : names)
        if (std::ranges::find(services, name, &Service::name) == services.end())
            throw UsageError("the switch has no service " + sim::quoted(name));
    for (const Service &service : services)
        if (std::ranges::find(names, service.name) != names.end()) some.push_back(service);
    return some;
}

std::string describe(const Service &service) {
    const std::string vdc = service.place.vdc == std::to_string(sim::kDefaultVdc) ? "" : ", VDC " + service.place.vdc;
    return "service " + sim::quoted(service.name) + " (SAP " + std::to_string(service.sap) + vdc + ")";
}

} // namespace switchd
