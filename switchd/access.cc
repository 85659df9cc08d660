#include "switchd/access.h"

#include <qarncli/message.h>
#include <sys/random.h>

#include <cstdio>
#include <map>

#include "nats/objects.h"

namespace switchd {
namespace {

std::string new_password() {
    unsigned char bytes[24];
    if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes) throw nats::Error("no random password");
    std::string password;
    for (const unsigned char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        password += digits;
    }
    return password;
}

std::string text_of(const User &user) {
    const std::string proof = user.password.empty()
                                  ? "ca ca.pem\ncertificate " + user.name + ".pem\nkey " + user.name + ".key"
                                  : "password " + user.password;
    return "user " + user.name + '\n' + proof + '\n';
}

} // namespace

std::string user_of_service(uint32_t sap) {
    return "sap-" + std::to_string(sap);
}

std::string credentials_of(const std::string &user) {
    return user + ".credentials";
}

std::vector<User> users_of(const std::string &switch_name, const std::vector<KnownService> &services, Proof proof) {
    std::map<uint32_t, bool> consumers; // two VDCs may have a service with the same SAP
    for (const KnownService &service : services)
        consumers[service.sap] = consumers[service.sap] || service.consumer;
    std::vector<User> users = {{.name = kOwnUser},
                               {.name = kShellUser, .permissions = nats::permissions_of_shell(kShellUser)}};
    for (const auto &[sap, consumer] : consumers) {
        nats::ServiceUser service{.user = user_of_service(sap), .switch_name = switch_name, .sap = sap};
        if (consumer) service.opcodes = {QARN_OPC_REQUEST};
        users.push_back({.name = service.user, .permissions = nats::permissions_of(service)});
    }
    for (User &user : users)
        if (proof == Proof::kPassword) user.password = new_password();
    return users;
}

void write_credentials(const Folder &folder, const std::vector<User> &users) {
    for (const User &user : users)
        folder.write(credentials_of(user.name), text_of(user));
}

} // namespace switchd
