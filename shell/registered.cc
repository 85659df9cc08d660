// The process that reads the registry writes each registration as a line with its key, the lines of its value and an
// empty line, or one line about what is wrong.
#include "shell/registered.h"

#include <signal.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "nats/registry.h"
#include "shell/exit_code.h"
#include "shell/held_output.h"
#include "shell/job.h"
#include "shell/signals.h"

namespace shell {
namespace {

using transport::Registrations;
using Clock = std::chrono::steady_clock;

constexpr char kExpectedOnly = '!'; // before the key of one that is not registered

std::string written(const Registrations &registrations) {
    std::string text;
    for (const nats::Registration &one : registrations) {
        if (!one.is_registered) text += kExpectedOnly;
        text += nats::key(one.place, one.opcode, one.sap) + '\n' + nats::value_of(one) + '\n';
    }
    return text;
}

std::string_view take(std::string_view &text, std::string_view end) {
    const std::string_view taken = text.substr(0, text.find(end));
    text.remove_prefix(std::min(taken.size() + end.size(), text.size()));
    return taken;
}

Registrations read_back(std::string_view text) {
    Registrations registrations;
    while (!text.empty()) {
        std::string_view line = take(text, "\n");
        const bool is_registered = !line.starts_with(kExpectedOnly);
        if (!is_registered) line.remove_prefix(1);
        auto key = nats::key_in(line);
        const std::string_view value = take(text, "\n\n");
        if (key) registrations.push_back(nats::registration_in(std::move(*key), value));
        if (key) registrations.back().is_registered = is_registered;
    }
    return registrations;
}

// A request that the server does not permit gets no answer, so that it is a time-out for the library.
std::string reason_of(const nats::Error &error, natsConnection *connection) {
    const char *text = nullptr;
    if (natsConnection_GetLastError(connection, &text) != NATS_NOT_PERMITTED || text == nullptr) return error.what();
    return std::string("the server does not permit this user to read the registry of services: ") + text;
}

std::string list_of(natsConnection *connection, const std::optional<std::string> &switch_name) {
    try {
        nats::Registry registry(connection, nats::Registry::Missing::kIsEmpty);
        return written(switch_name ? registry.list_switch(*switch_name) : registry.list_all());
    } catch (const nats::Error &error) {
        throw nats::Error(reason_of(error, connection));
    }
}

// In a process of its own. Returns its exit code.
int read_registry(const nats::Access &access, const std::optional<std::string> &switch_name, const HeldOutput &out) {
    try {
        const nats::Connection connection = nats::connect(access, nats::Reconnects::kNo);
        out.write(list_of(connection.get(), switch_name));
        return kExitComplete;
    } catch (const std::exception &error) {
        out.write(error.what());
        return kExitFailure;
    }
}

// Returns how the child ended. A signal that ends the shell ends the child first.
int wait_for(Child &child, const SignalsDuringChild &signals, std::chrono::nanoseconds limit) {
    const auto end = Clock::now() + limit;
    for (child.reap(); child.is_running(); child.reap()) {
        const int signal = signals.wait(std::max(end - Clock::now(), Clock::duration(0)));
        if (signal == SIGINT) {
            child.send(SIGKILL);
            child.reap(0);
            throw ListingInterrupted();
        }
        const bool is_over = Clock::now() >= end;
        if (is_over || (signal > 0 && signal != SIGCHLD)) child.end();
        if (signal > 0 && signal != SIGCHLD) signals.deliver(signal);
    }
    return child.status().value_or(-1);
}

} // namespace

Registrations registered_at(const nats::Access &access, const std::optional<std::string> &switch_name,
                            std::chrono::nanoseconds limit) {
    const HeldOutput out({});
    const SignalsDuringChild signals;
    Child child;
    child.start(signals, [&] { _exit(read_registry(access, switch_name, out)); });
    if (!child.is_made()) throw std::runtime_error("the registry of services was not read");
    const int status = wait_for(child, signals, limit);
    const std::string text = out.contents();
    if (!WIFEXITED(status))
        throw std::runtime_error("cannot read the registry of services at " + access.url + " in time");
    if (WEXITSTATUS(status) != kExitComplete) throw std::runtime_error(text);
    return read_back(text);
}

} // namespace shell
