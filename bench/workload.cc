#include "bench/workload.h"

#include <string>

namespace bench {
namespace {

constexpr std::uint32_t kFirstSap = 1000;

sim::Service &add_service(sim::Switch &sw, std::uint32_t uuid, const sim::Tlv &tlv) {
    const auto sap = kFirstSap + static_cast<std::uint32_t>(sw.services.size());
    return sw.service("service-" + std::to_string(sap), sap, uuid).replies(tlv);
}

std::uint32_t next_uuid(const sim::Switch &sw) {
    return 1000 + static_cast<std::uint32_t>(sw.services.size());
}

} // namespace

void add_keyed(sim::Switch &sw, int keys, int services) {
    sim::Tlv owner;
    owner.element({.uuid = 41, .elem_id = 1, .level = 3});
    for (int key = 0; key < keys; ++key) {
        const std::string name = std::to_string(key);
        owner.key(0, "class-map " + name + "\n", name);
    }
    add_service(sw, 41, owner);
    for (int service = 0; service < services; ++service) {
        const std::uint32_t uuid = next_uuid(sw);
        sim::Tlv tlv;
        tlv.element({.uuid = uuid, .elem_id = 1, .level = 4});
        const std::string line = "  match service " + std::to_string(service) + "\n";
        for (int key = 0; key < keys; ++key)
            tlv.key_string(std::to_string(key), line);
        add_service(sw, uuid, tlv);
    }
}

void add_vlans(sim::Switch &sw, int vlans, int services) {
    const auto line_of = [](int vlan) { return "vlan " + std::to_string(vlan) + "\n"; };
    sim::Tlv owner;
    owner.element({.uuid = QARN_UUID_VLAN, .elem_id = 2, .level = 3});
    for (int vlan = 1; vlan <= vlans; ++vlan)
        owner.key(static_cast<std::uint32_t>(vlan), "", line_of(vlan));
    add_service(sw, QARN_UUID_VLAN, owner);
    for (int service = 0; service < services; ++service) {
        const std::uint32_t uuid = next_uuid(sw);
        sim::Tlv tlv;
        tlv.element({.uuid = uuid, .elem_id = 1, .level = 4});
        for (int vlan = 1; vlan <= vlans; ++vlan) {
            tlv.key_string(line_of(vlan),
                           "  setting " + std::to_string(service) + " of group " + std::to_string(vlan / 10) + "\n");
        }
        add_service(sw, uuid, tlv);
    }
}

} // namespace bench
