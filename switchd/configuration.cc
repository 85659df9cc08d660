#include "switchd/configuration.h"

namespace switchd {
namespace {

std::string quoted(const std::string &text) {
    std::string quoted = "\"";
    for (const char c : text)
        (c == '"' || c == '\\' ? quoted += '\\' : quoted) += c;
    return quoted + '"';
}

std::string list_of(const std::vector<std::string> &subjects) {
    std::string list;
    for (const std::string &subject : subjects)
        list += (list.empty() ? "" : ", ") + quoted(subject);
    return '[' + list + ']';
}

std::string entry_of(const User &user) {
    const std::string who = user.password.empty()
                                ? "user: " + quoted("CN=" + user.name)
                                : "user: " + quoted(user.name) + ", password: " + quoted(user.password);
    if (!user.permissions) return "    {" + who + "}\n";
    return "    {" + who + ", permissions: {\n      publish: " + list_of(user.permissions->publish) +
           "\n      subscribe: " + list_of(user.permissions->subscribe) + "\n    }}\n";
}

std::string tls_of(const std::string &folder) {
    return "tls {\n  cert_file: " + quoted(folder + "/server.pem") + "\n  key_file: " + quoted(folder + "/server.key") +
           "\n  ca_file: " + quoted(folder + "/ca.pem") + "\n  verify_and_map: true\n}\n";
}

} // namespace

std::string configuration_of(const Address &listen, const std::string &folder, const std::vector<User> &users,
                             Proof proof) {
    const std::string port = listen.port == 0 ? "-1" : std::to_string(listen.port);
    std::string text = "host: " + quoted(listen.host) + "\nport: " + port +
                       "\njetstream {\n  store_dir: " + quoted(folder + '/' + kJetStream) + "\n}\n";
    if (proof == Proof::kCertificate) text += tls_of(folder);
    text += "authorization {\n  users: [\n";
    for (const User &user : users)
        text += entry_of(user);
    return text + "  ]\n}\n";
}

} // namespace switchd
