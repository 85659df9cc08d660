// A connection carries the configuration of a switch, with its secrets, so that it leaves the machine only with TLS, in
// which both ends show a certificate.
#include "nats/connection.h"

#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "nats/names.h"

namespace nats {
namespace {

constexpr int64_t kConnectTimeout = 5000; // milliseconds
constexpr int64_t kReconnectPause = 500;
constexpr int64_t kPingInterval = 5000; // a cut cable is noticed after three of them
constexpr char kKeys[] = "user, password, ca, certificate and key";

using Credentials = std::map<std::string, std::string>;

void check_private(const std::string &what, const std::string &path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        throw Error("cannot read the " + what + ' ' + path + ": " + std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw Error("the " + what + ' ' + path + " cannot be a folder; name a file in it");
    if ((status.st_mode & 077) != 0)
        throw Error("others have access to the " + what + ' ' + path + "; change that with chmod 600");
}

bool has(const Credentials &credentials, const char *key) {
    return credentials.contains(key);
}

// Throws if they do not show who the user is.
void check_complete(const Credentials &credentials, const std::string &path) {
    if (has(credentials, "certificate") != has(credentials, "key"))
        throw Error("the credentials " + path + " have one of the lines certificate and key without the other");
    if (has(credentials, "key")) check_private("private key", credentials.at("key"));
    if (!has(credentials, "user")) return;
    if (!has(credentials, "password") && !has(credentials, "certificate"))
        throw Error("the credentials " + path +
                    " have a user without a proof: add the line password, or the lines certificate and key");
    if (const auto reason = why_too_long("user", credentials.at("user"))) throw Error(*reason);
}

Credentials read_credentials(const std::string &path) {
    check_private("credentials", path);
    std::ifstream file(path);
    if (!file) throw Error("cannot read the credentials " + path + ": " + std::strerror(errno));
    Credentials credentials;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        const std::size_t blank = line.find(' ');
        const std::string key = line.substr(0, blank);
        constexpr std::string_view kKnown[] = {"user", "password", "ca", "certificate", "key"};
        if (blank == std::string::npos || std::ranges::find(kKnown, key) == std::end(kKnown))
            throw Error("the credentials " + path + " have another line than \"KEY VALUE\" with the keys " + kKeys);
        const bool is_path = key != "user" && key != "password";
        const std::string value = line.substr(blank + 1);
        credentials[key] = is_path ? (std::filesystem::path(path).parent_path() / value).string() : value;
    }
    check_complete(credentials, path);
    return credentials;
}

struct Address {
    std::string scheme, host;
};

Address address_in(const std::string &url) {
    const std::size_t colons = url.find("://");
    const std::string scheme = colons == std::string::npos ? "nats" : url.substr(0, colons);
    std::string host = colons == std::string::npos ? url : url.substr(colons + 3);
    if (host.find('@') != std::string::npos)
        throw Error(
            "the address has a user in it, which other users of this machine can read; put \"user NAME\" and "
            "\"password TEXT\" into a file and name it with --credentials");
    if (scheme != "nats" && scheme != "tls") throw Error("unknown scheme in " + url + "; use nats:// or tls://");
    host = host.starts_with('[') ? host.substr(1, host.find(']') - 1) : host.substr(0, host.find_first_of(":/"));
    if (host.empty()) throw Error("no host in \"" + url + "\"; use nats://HOST:PORT or tls://HOST:PORT");
    return {scheme, host};
}

std::vector<std::string> split(const std::string &urls) {
    std::vector<std::string> list;
    for (std::size_t at = 0; at <= urls.size();) {
        const std::size_t end = std::min(urls.find(',', at), urls.size());
        list.push_back(urls.substr(at, end - at));
        at = end + 1;
    }
    return list;
}

// Whether the addresses want TLS. Throws if one is not permitted.
bool wants_tls(const std::vector<std::string> &urls, const Credentials &credentials) {
    bool tls = false;
    for (const std::string &url : urls) {
        const Address address = address_in(url);
        tls = tls || address.scheme == "tls";
        if (is_loopback(address.host)) continue;
        if (address.scheme != "tls")
            throw Error(url +
                        " is another machine, which needs TLS: use tls://, and credentials with the lines ca, "
                        "certificate and key");
        if (!has(credentials, "ca") || !has(credentials, "certificate") || !has(credentials, "key"))
            throw Error(url +
                        " needs certificates of both ends: name a file with the lines ca, certificate and key "
                        "with --credentials");
    }
    return tls;
}

void set_tls(natsOptions *options, const Credentials &credentials) {
    check(natsOptions_SetSecure(options, true), "TLS");
    if (has(credentials, "ca"))
        check(natsOptions_LoadCATrustedCertificates(options, credentials.at("ca").c_str()),
              "cannot use the file of the line ca");
    if (has(credentials, "certificate") && has(credentials, "key"))
        check(natsOptions_LoadCertificatesChain(options, credentials.at("certificate").c_str(),
                                                credentials.at("key").c_str()),
              "cannot use the files of the lines certificate and key");
}

void set_user(natsOptions *options, const Credentials &credentials) {
    if (!has(credentials, "user")) return;
    check(natsOptions_SetCustomInboxPrefix(options, inbox_prefix(credentials.at("user")).c_str()), "inbox");
    if (!has(credentials, "password")) return; // the certificate shows who it is
    check(natsOptions_SetUserInfo(options, credentials.at("user").c_str(), credentials.at("password").c_str()), "user");
}

void set_servers(natsOptions *options, const std::vector<std::string> &urls) {
    std::vector<const char *> servers;
    servers.reserve(urls.size());
    for (const std::string &url : urls)
        servers.push_back(url.c_str());
    check(natsOptions_SetServers(options, servers.data(), static_cast<int>(servers.size())), "address");
}

Options options_for(const Access &access, Reconnects reconnects) {
    auto options = made<Options>("options", natsOptions_Create);
    const Credentials credentials = access.credentials ? read_credentials(*access.credentials) : Credentials();
    const std::vector<std::string> urls = split(access.url);
    if (wants_tls(urls, credentials)) set_tls(options.get(), credentials);
    set_user(options.get(), credentials);
    set_servers(options.get(), urls);
    check(natsOptions_SetName(options.get(), access.client_name.c_str()), "name");
    check(natsOptions_SetTimeout(options.get(), kConnectTimeout), "time-out");
    check(natsOptions_SetPingInterval(options.get(), kPingInterval), "pings");
    check(natsOptions_SetMaxPingsOut(options.get(), 2), "pings");
    check(natsOptions_SetSendAsap(options.get(), true), "sending at once");
    check(natsOptions_SetAllowReconnect(options.get(), reconnects == Reconnects::kForever), "reconnecting");
    check(natsOptions_SetMaxReconnect(options.get(), -1), "reconnecting");
    check(natsOptions_SetReconnectWait(options.get(), kReconnectPause), "reconnecting");
    check(natsOptions_SetIgnoreDiscoveredServers(options.get(), true), "address"); // the user names the addresses
    return options;
}

// What libnats keeps of an observer, until the connection is closed.
using Observed = std::shared_ptr<Observer>;

Observer &observer_in(void *closure) {
    return **static_cast<Observed *>(closure);
}

std::string last_error_of(natsConnection *connection, natsStatus status) {
    const char *text = nullptr;
    natsConnection_GetLastError(connection, &text);
    return text != nullptr && *text != '\0' ? text : natsStatus_GetText(status);
}

void on_closed(natsConnection *connection, void *closure) {
    const std::unique_ptr<Observed> observed(static_cast<Observed *>(closure));
    (*observed)->closed(last_error_of(connection, NATS_CONNECTION_CLOSED));
}

void on_error(natsConnection *connection, natsSubscription *, natsStatus status, void *closure) {
    observer_in(closure).refused(last_error_of(connection, status));
}

void observe(natsOptions *options, Observed *observed) {
    const auto lost = [](natsConnection *, void *closure) { observer_in(closure).lost(); };
    const auto restored = [](natsConnection *, void *closure) { observer_in(closure).restored(); };
    check(natsOptions_SetDisconnectedCB(options, lost, observed), "observer");
    check(natsOptions_SetReconnectedCB(options, restored, observed), "observer");
    check(natsOptions_SetClosedCB(options, on_closed, observed), "observer");
    check(natsOptions_SetErrorHandler(options, on_error, observed), "observer");
    check(natsOptions_UseGlobalMessageDelivery(options, true), "observer");
}

std::string advice(natsStatus status) {
    switch (status) {
        case NATS_CONNECTION_AUTH_FAILED:
            return "; the server does not accept the user: check the file of --credentials";
        case NATS_NO_SERVER:
        case NATS_IO_ERROR:
        case NATS_TIMEOUT:
            return "; check the address, and that nats-server runs there";
        case NATS_SECURE_CONNECTION_REQUIRED:
            return "; use tls://";
        case NATS_SECURE_CONNECTION_WANTED:
            return "; the server has no TLS";
        case NATS_SSL_ERROR:
            return "; check the certificates that the file of --credentials names";
        default:
            return "";
    }
}

} // namespace

void check(natsStatus status, const std::string &what) {
    if (status != NATS_OK) throw Error(what + ": " + natsStatus_GetText(status));
}

bool is_loopback(const std::string &host) {
    const bool is_number = host.find_first_not_of("0123456789.") == std::string::npos;
    return host == "localhost" || host == "::1" || (host.starts_with("127.") && is_number);
}

std::string user_of(const Access &access) {
    if (!access.credentials) return "";
    const Credentials credentials = read_credentials(*access.credentials);
    return has(credentials, "user") ? credentials.at("user") : "";
}

SignalsBlocked::SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
}

SignalsBlocked::~SignalsBlocked() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

Connection connect(const Access &access, Reconnects reconnects, std::shared_ptr<Observer> observer) {
    const SignalsBlocked signals;
    const Options options = options_for(access, reconnects);
    auto observed = observer ? std::make_unique<Observed>(std::move(observer)) : nullptr;
    if (observed) observe(options.get(), observed.get());
    natsConnection *connection = nullptr;
    const natsStatus status = natsConnection_Connect(&connection, options.get());
    if (status != NATS_OK)
        throw Error("cannot connect to " + access.url + ": " + natsStatus_GetText(status) + advice(status));
    (void)observed.release(); // on_closed takes it back
    return Connection(connection);
}

} // namespace nats
