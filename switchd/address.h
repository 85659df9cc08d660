// The address that --listen gives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace switchd {

struct Address {
    std::string host = {};
    uint16_t port = 0; // 0: a free one
};

// None if it is not HOST:PORT, with brackets around an IPv6 address.
std::optional<Address> address_in(const std::string &text);
bool is_every_address(const std::string &host); // of this machine
std::string text_of(const Address &address);    // an IPv6 address in brackets
std::string name_of_host();                     // of this machine

} // namespace switchd
