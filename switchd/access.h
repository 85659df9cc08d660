// The users of a switch's NATS server: one for each service, one for shells, and switchd's own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "nats/permissions.h"
#include "switchd/folder.h"

namespace switchd {

inline constexpr char kOwnUser[] = "switchd", kShellUser[] = "shell";

struct User {
    std::string name = {};
    std::optional<nats::Permissions> permissions = {}; // none: everything
    std::string password = {};                         // empty: the certificate shows who it is
};

struct KnownService {
    uint32_t sap = 0;
    bool consumer = true; // of requests to all
};

enum class Proof : bool { kPassword, kCertificate };

std::string user_of_service(uint32_t sap);
std::string credentials_of(const std::string &user); // name of the file

// Passwords are new.
std::vector<User> users_of(const std::string &switch_name, const std::vector<KnownService> &services, Proof proof);
// The paths of certificates in credentials are relative, so that a copy of the folder can be used.
void write_credentials(const Folder &folder, const std::vector<User> &users);

} // namespace switchd
