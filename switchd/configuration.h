// The configuration of the NATS server.
#pragma once

#include <string>
#include <vector>

#include "switchd/access.h"
#include "switchd/address.h"

namespace switchd {

inline constexpr char kConfiguration[] = "nats-server.conf", kJetStream[] = "jetstream";

// Certificates and what JetStream stores are in the folder.
std::string configuration_of(const Address &listen, const std::string &folder, const std::vector<User> &users,
                             Proof proof);

} // namespace switchd
