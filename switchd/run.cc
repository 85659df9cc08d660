#include "switchd/run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>

#include "switchd/access.h"
#include "switchd/address.h"
#include "switchd/certificates.h"
#include "switchd/configuration.h"
#include "switchd/engine.h"
#include "switchd/folder.h"
#include "switchd/report.h"
#include "switchd/services.h"
#include "switchd/signals.h"
#include "switchd/supervisor.h"

namespace switchd {
namespace {

namespace fs = std::filesystem;

constexpr char kNextLine[] = "connect"; // file in the folder

std::string absolute(const std::string &given) {
    const fs::path path = fs::absolute(given).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

std::string program_of_services(const Options &options) {
    if (!options.service_program.empty()) return fs::absolute(options.service_program);
    return fs::read_symlink("/proc/self/exe").parent_path() / "qarn-service";
}

void check_program(const std::string &program) {
    if (access(program.c_str(), X_OK) != 0)
        throw nats::Error("cannot start " + program + ", the program of services; name it with --service-program");
}

// Each service is a connection of the server; the rest is for the server, shells and what starts at the same time.
void check_limit_of_files(std::size_t services) {
    constexpr uint64_t kOthers = 200;
    const uint64_t permitted = raise_limit_of_files(), needed = services + kOthers;
    if (permitted < needed)
        throw nats::Error(std::to_string(services) + " services need " + std::to_string(needed) +
                          " open files, and the limit is " + std::to_string(permitted) +
                          ": raise it (ulimit -Hn, LimitNOFILE in a unit of systemd), or start fewer services");
}

// A word as the user's shell takes it.
std::string word(const std::string &text) {
    constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:=@,+";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// How services and shells reach the NATS server.
struct Way {
    std::string url = {}, url_for_others = {};
    std::optional<std::string> folder = {};      // with credentials of each user
    std::optional<std::string> credentials = {}; // of all users, if there is no folder

    std::optional<std::string> credentials_for(const std::string &user) const {
        return folder ? *folder + '/' + credentials_of(user) : credentials;
    }
};

std::vector<std::string> command_of(const Options &options, const Way &way, const std::string &program,
                                    const Service &service) {
    std::vector<std::string> words = {program,
                                      "-s",
                                      service.file,
                                      "--connect",
                                      way.url,
                                      "--switch-name",
                                      service.place.switch_name,
                                      "--vdc",
                                      service.place.vdc,
                                      "--timeout-unit",
                                      std::to_string(options.timeout_unit),
                                      "--ready-fd",
                                      "3"};
    if (const auto file = way.credentials_for(user_of_service(service.sap)))
        words.insert(words.end(), {"--credentials", *file});
    words.insert(words.end(), {"--", service.name});
    return words;
}

std::string next_line(const Options &options, const std::string &switch_file, const Way &way) {
    std::string line = "vsh -s " + word(switch_file) + " --connect " + word(way.url_for_others);
    if (options.switch_name) line += " --switch-name " + word(*options.switch_name);
    if (const auto file = way.credentials_for(kShellUser)) line += " --credentials " + word(*file);
    return line + '\n';
}

void print(const std::string &line) {
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
}

int supervise(const Options &options, const Way &way, const std::vector<Service> &services, Engine *engine,
              const std::function<void()> &ready) {
    const std::string program = program_of_services(options);
    const auto own = way.credentials_for(kOwnUser);
    std::optional<Cleaner> cleaner;
    if (!way.folder || access(own->c_str(), F_OK) == 0)
        cleaner.emplace(nats::Access{.url = way.url, .credentials = own, .client_name = "switchd"});
    Supervisor supervisor(
        {.services = services,
         .command = [&](const Service &service) { return command_of(options, way, program, service); },
         .engine = engine,
         .cleaner = cleaner ? &*cleaner : nullptr,
         .ready = ready});
    return supervisor.run();
}

int join(const Options &options, const std::vector<Service> &services) {
    Way way{.url = *options.join, .url_for_others = *options.join};
    const bool is_folder = options.credentials && fs::is_directory(*options.credentials);
    if (options.credentials) (is_folder ? way.folder : way.credentials) = absolute(*options.credentials);
    return supervise(options, way, services, nullptr, [&] {
        print(next_line(options, options.switch_file, way));
        const auto shell = way.credentials_for(kShellUser);
        if (shell && access(shell->c_str(), F_OK) != 0)
            report(*shell +
                   " does not exist: before that line can be used, copy ca.pem and shell.* there from the "
                   "folder of the switchd that made them");
    });
}

struct Hosts {
    std::vector<std::string> names = {}; // in the certificate
    std::string own = {}, for_others = {};
};

Hosts hosts_of(const std::string &host) {
    if (!is_every_address(host)) return {{host}, host, host};
    return {{name_of_host(), "localhost", "127.0.0.1", "::1"}, "127.0.0.1", name_of_host()};
}

Proof proof_on(const std::string &host) {
    return nats::is_loopback(host) ? Proof::kPassword : Proof::kCertificate;
}

// Write everything that the NATS server and its users read.
void fill(const Folder &folder, const Address &listen, const std::vector<User> &users) {
    const Proof proof = proof_on(listen.host);
    if (proof == Proof::kCertificate) {
        std::vector<std::string> names;
        names.reserve(users.size());
        for (const User &user : users)
            names.push_back(user.name);
        provide_certificates(folder, hosts_of(listen.host).names, names);
    }
    write_credentials(folder, users);
    folder.write(kConfiguration, configuration_of(listen, folder.path(), users, proof));
}

// Every service of the description gets a user, because those that are not started here may join from elsewhere.
std::vector<User> users_for(const std::vector<Service> &services, Proof proof) {
    std::vector<KnownService> known;
    known.reserve(services.size());
    for (const Service &service : services)
        known.push_back({service.sap, service.consumer});
    return users_of(services.empty() ? "" : services.front().place.switch_name, known, proof);
}

int host(const Options &options, const std::vector<Service> &all, const std::vector<Service> &started) {
    const Address listen = address_in(options.listen).value(); // the command line has been checked
    const Folder folder(options.folder);
    folder.remove(kNextLine);
    fill(folder, listen, users_for(all, proof_on(listen.host)));
    Engine engine(folder);
    const Hosts hosts = hosts_of(listen.host);
    const std::string scheme = proof_on(listen.host) == Proof::kCertificate ? "tls://" : "nats://";
    const Way way{.url = scheme + text_of({hosts.own, engine.port()}),
                  .url_for_others = scheme + text_of({hosts.for_others, engine.port()}),
                  .folder = folder.path()};
    const int status = supervise(options, way, started, &engine, [&] {
        folder.write(kNextLine, next_line(options, absolute(options.switch_file), way));
        print(next_line(options, options.switch_file, way));
    });
    folder.remove(kNextLine);
    return status;
}

} // namespace

int run(const Options &options) try {
    umask(077);
    const std::vector<Service> all = services_of(options), started = chosen(all, options.services);
    check_program(program_of_services(options));
    check_limit_of_files(started.size());
    throw_if_ended();
    return options.join ? join(options, started) : host(options, all, started);
} catch (const Ended &) {
    return 0;
}

} // namespace switchd
