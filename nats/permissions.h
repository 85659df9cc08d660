// What the users of a NATS server may publish and subscribe. A service answers and registers under its own SAP only; a
// shell asks every service and receives the answers to itself only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nats {

struct Permissions {
    std::vector<std::string> publish = {}, subscribe = {};
};

struct ServiceUser {
    std::string user = {};
    std::string switch_name = {}; // in every VDC of which it serves
    uint32_t sap = 0;
    std::vector<uint32_t> opcodes = {}; // that it consumes
};

Permissions permissions_of(const ServiceUser &service);
Permissions permissions_of_shell(std::string_view user); // for all switches

} // namespace nats
