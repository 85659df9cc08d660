#include "switchd/address.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <charconv>
#include <climits>
#include <system_error>

namespace switchd {
namespace {

bool is_name_or_number(const std::string &text) {
    constexpr char kBytes[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-";
    return !text.empty() && !text.starts_with('-') && text.find_first_not_of(kBytes) == std::string::npos;
}

std::optional<std::string> host_in(const std::string &text) {
    if (is_name_or_number(text)) return text;
    if (!text.starts_with('[') || !text.ends_with(']')) return {};
    const std::string address = text.substr(1, text.size() - 2);
    struct in6_addr bytes;
    return inet_pton(AF_INET6, address.c_str(), &bytes) == 1 ? std::optional(address) : std::nullopt;
}

std::optional<uint16_t> port_in(const std::string &text) {
    uint16_t port = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool is_whole = !text.empty() && read.ec == std::errc() && read.ptr == text.data() + text.size();
    return is_whole ? std::optional(port) : std::nullopt;
}

} // namespace

std::optional<Address> address_in(const std::string &text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) return {};
    const auto host = host_in(text.substr(0, colon));
    const auto port = port_in(text.substr(colon + 1));
    if (!host || !port) return {};
    return Address{*host, *port};
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
