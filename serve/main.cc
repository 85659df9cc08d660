// qarn-service: services of a switch description, in a process of their own, on a NATS server. Whoever shows the switch
// asks them there.
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "serve/options.h"
#include "serve/server.h"
#include "sim/description.h"
#include "sim/notation.h"

namespace {

using serve::Options;

std::size_t common_length(const std::string &one, const std::string &other) {
    const auto end = std::ranges::mismatch(one, other).in1;
    return static_cast<std::size_t>(end - one.begin());
}

// The names that have the longest beginning in common with `word`.
std::string nearest_to(const std::string &word, const sim::Switch &sw) {
    std::size_t longest = 0;
    std::string names;
    for (const sim::Service &service : sw.services) {
        const std::size_t length = common_length(service.name, word);
        if (length > longest) names.clear();
        longest = std::max(longest, length);
        if (length == longest) names += (names.empty() ? "" : ", ") + service.name;
    }
    return names;
}

void check_names(const Options &options, sim::Switch &sw) {
    for (const std::string &name : options.services)
        if (sw.find_service(name) == nullptr)
            throw std::runtime_error("unknown service " + sim::quoted(name) + "; the nearest of " +
                                     sim::printable(options.switch_file) + ": " + nearest_to(name, sw));
}

// Blocked, because the loop reads them from a descriptor.
void block_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_SETMASK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN); // of standard error
}

// Each service has a descriptor.
void raise_limit_of_descriptors() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void report_ready(int descriptor) {
    if (write(descriptor, "\n", 1) != 1)
        throw std::runtime_error("--ready-fd " + std::to_string(descriptor) + ": " + std::strerror(errno));
    close(descriptor);
}

void run(const Options &options) {
    sim::Switch sw;
    sim::make_current(&sw);
    if (!options.services.empty())
        sw.wants_elements = [&](const std::string &name) { return std::ranges::count(options.services, name) != 0; };
    sim::load_description(sw, options.switch_file);
    check_names(options, sw);
    sw.hides_secrets = options.mask;
    serve::Server server(sw, options);
    if (options.ready_fd) report_ready(*options.ready_fd);
    server.run();
}

int parse_and_run(int argc, char **argv) {
    CLI::App app("Is services of a described switch, on a NATS server.", "qarn-service");
    Options options;
    serve::declare_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) { // --help, --version
        return app.exit(asked);
    } catch (const CLI::ParseError &error) {
        std::fprintf(stderr, "qarn-service: %s\nqarn-service: --help describes the options\n", error.what());
        return 1;
    }
    block_signals();
    raise_limit_of_descriptors();
    run(options);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qarn-service: %s\n", error.what());
    }
    return 1;
}
