// Connections to a NATS server.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "nats/objects.h"

namespace nats {

// A file of credentials has lines "KEY VALUE" with the keys user, password, ca, certificate and key; the last three
// are paths of PEM files. Only its owner may have access to it.
struct Access {
    std::string url = {};                        // nats://HOST:PORT or tls://HOST:PORT, several with commas
    std::optional<std::string> credentials = {}; // path of the file
    std::string client_name = {};                // which the server shows
};

// Whether a broken connection is made again.
enum class Reconnects : bool { kNo, kForever };

// The user in the credentials; empty if there is none. Throws Error.
std::string user_of(const Access &access);

// Throws Error. An address of another machine needs TLS in both directions. The threads of the library take no signals.
Connection connect(const Access &access, Reconnects reconnects);

} // namespace nats
