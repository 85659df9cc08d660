// The services of a switch that is known from its registrations.
#include <qarncli/message.h>

#include <algorithm>

#include "transport/nats_carrier.h"

namespace transport {
namespace {

sim::Service &service_with(uint32_t sap, sim::Switch &sw) {
    const auto found = std::ranges::find(sw.services, sap, &sim::Service::sap);
    if (found != sw.services.end()) return *found;
    sim::Service &service = sw.services.emplace_back();
    service.sap = sap;
    service.consumer = false;
    return service;
}

} // namespace

// A consumer has one registration for requests and may have others.
void add_services(sim::Switch &sw, const Registrations &registered) {
    for (const nats::Registration &registration : registered) {
        sim::Service &service = service_with(registration.sap, sw);
        service.name = registration.name;
        service.uuid = registration.uuid;
        if (registration.opcode == QARN_OPC_REQUEST) service.consumer = true;
    }
}

} // namespace transport
