// The configuration of the NATS server.
#pragma once

#include <string>
#include <vector>

#include "switchd/access.h"
#include "switchd/address.h"
#include "switchd/folder.h"

namespace switchd {

inline constexpr char kConfiguration[] = "nats-server.conf", kJetStream[] = "jetstream";

std::string configuration_of(const Address &listen, const Folder &folder, const std::vector<User> &users, Proof proof);

} // namespace switchd
