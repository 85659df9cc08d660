// Certificates of a private authority, with which server and users prove who they are.
#pragma once

#include <string>
#include <vector>

#include "switchd/folder.h"

namespace switchd {

// Make those that the folder lacks: of the authority (ca), of the server for its hosts (server), of each user. If the
// folder has certificates of an authority without its key, it must have all others too. Throws nats::Error, which says
// what is missing.
void provide_certificates(const Folder &folder, const std::vector<std::string> &hosts,
                          const std::vector<std::string> &users);

} // namespace switchd
