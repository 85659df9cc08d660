#include "switchd/address.h"

#include <unistd.h>

#include <charconv>
#include <climits>

#include "nats/objects.h"
#include "sim/notation.h"

namespace switchd {

Address address_in(const std::string &text) {
    const std::size_t colon = text.rfind(':');
    std::string host = text.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    uint16_t port = 0;
    const char *end = text.data() + text.size();
    const bool has_port = colon != std::string::npos && std::from_chars(text.data() + colon + 1, end, port).ptr == end;
    const bool is_host = host.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-:") ==
                         std::string::npos;
    if (!has_port || colon + 1 == text.size() || host.empty() || !is_host)
        throw nats::Error("cannot listen on " + sim::quoted(text) +
                          "; --listen needs HOST:PORT, such as 10.0.0.5:4222");
    return {host, port};
}

bool is_every_address(const std::string &host) {
    return host == "0.0.0.0" || host == "::";
}

std::string text_of(const Address &address) {
    const bool is_v6 = address.host.find(':') != std::string::npos;
    return (is_v6 ? '[' + address.host + ']' : address.host) + ':' + std::to_string(address.port);
}

std::string name_of_host() {
    char name[HOST_NAME_MAX + 1] = "localhost";
    gethostname(name, sizeof name);
    return name;
}

} // namespace switchd
