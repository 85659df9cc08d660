#include "switchd/supervisor.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "switchd/address.h"
#include "switchd/report.h"
#include "switchd/signals.h"

namespace switchd {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kLongestPause(60), kLongLife(60); // after a long life the pauses begin again
constexpr seconds kUsualStart(10);                  // of all services
constexpr int kMostFailures = 3;                    // of a service that was never ready
constexpr int kReadyDescriptor = 3;                 // in a service

} // namespace

Cleaner::Cleaner(const nats::Access &access)
    : connection_(nats::connect(access, nats::Reconnects::kForever)),
      registry_(connection_.get(), nats::Registry::Missing::kIsMade) {}

void Cleaner::remove(const Service &service, pid_t child) try {
    if (natsConnection_Status(connection_.get()) != NATS_CONN_STATUS_CONNECTED)
        throw nats::Error("the NATS server is away");
    for (const nats::Registration &registration : registry_.list_registered(service.place))
        if (registration.sap == service.sap && registration.pid == child && registration.host == name_of_host())
            registry_.expire(registration);
} catch (const nats::Error &error) {
    report("the registration of " + describe(service) + " could not be removed, and lasts up to " +
           std::to_string(nats::kLifetime.count()) + " s: " + error.what());
}

Supervisor::Supervisor(Settings settings)
    : settings_(std::move(settings)), signals_(descriptor_of_signals(Children::kIncluded)) {
    children_.reserve(settings_.services.size());
    for (const Service &service : settings_.services)
        children_.push_back({.service = service});
}

Supervisor::~Supervisor() {
    std::vector<pid_t> running;
    for (const Child &child : children_)
        if (child.pid > 0) running.push_back(child.pid);
    end(running);
}

void Supervisor::start(Child &child) const {
    Pipe pipe = new_pipe();
    child.pid = switchd::start(settings_.command(child.service),
                               {{STDERR_FILENO, STDOUT_FILENO}, {pipe.write.get(), kReadyDescriptor}});
    child.ready = std::move(pipe.read);
    child.start = Clock::now();
}

void Supervisor::start_due() {
    for (Child &child : children_)
        if (child.pid < 0 && child.start <= Clock::now()) start(child);
}

int Supervisor::run() {
    while (!status_) {
        start_due();
        if (!is_ready_ && std::ranges::all_of(children_, &Child::was_ready)) {
            is_ready_ = true;
            settings_.ready();
        }
        report_who_is_awaited();
        wait();
    }
    return *status_;
}

int Supervisor::milliseconds_to_next() const {
    auto next = Clock::time_point::max();
    if (!is_ready_ && !is_awaited_reported_) next = begin_ + kUsualStart;
    for (const Child &child : children_)
        if (child.pid < 0) next = std::min(next, child.start);
    if (next == Clock::time_point::max()) return -1;
    return static_cast<int>(std::max<int64_t>(std::chrono::ceil<milliseconds>(next - Clock::now()).count(), 0));
}

void Supervisor::wait() {
    std::vector<struct pollfd> awaited = {
        {.fd = signals_.get(), .events = POLLIN, .revents = 0},
        {.fd = settings_.engine != nullptr ? settings_.engine->log() : -1, .events = POLLIN, .revents = 0}};
    awaited.reserve(children_.size() + awaited.size());
    for (const Child &child : children_)
        awaited.push_back({.fd = child.ready.get(), .events = POLLIN, .revents = 0});
    if (poll(awaited.data(), awaited.size(), milliseconds_to_next()) <= 0) return;
    for (std::size_t i = 0; i < children_.size(); ++i)
        if (awaited[i + 2].revents != 0) take_ready(children_[i]);
    if (awaited[1].revents != 0 && !settings_.engine->read_log()) {
        report("nats-server ended; all services end");
        status_ = 1;
    }
    if (awaited[0].revents != 0) take_signals();
}

void Supervisor::take_ready(Child &child) {
    char newline = 0;
    if (read(child.ready.get(), &newline, 1) == 1) child.was_ready = true;
    child.ready.close(); // at its end the child has ended too
}

void Supervisor::take_signals() {
    struct signalfd_siginfo signal;
    while (read(signals_.get(), &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        if (signal.ssi_signo != SIGCHLD) status_ = 0;
    }
    reap();
}

void Supervisor::reap() {
    int wait_status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &wait_status, WNOHANG)) > 0;) {
        if (settings_.engine != nullptr && pid == settings_.engine->pid()) settings_.engine->has_ended();
        const auto child = std::ranges::find(children_, pid, &Child::pid);
        if (child != children_.end()) has_died(*child, wait_status);
    }
}

void Supervisor::has_died(Child &child, int wait_status) {
    const pid_t pid = std::exchange(child.pid, -1);
    if (status_) return;
    if (settings_.cleaner != nullptr) settings_.cleaner->remove(child.service, pid);
    const std::string what = describe(child.service) + " ended with " + describe_end(wait_status);
    if (!child.was_ready && ++child.failures == kMostFailures) {
        report(what + " " + std::to_string(kMostFailures) + " times before it was registered; all services end");
        status_ = 1;
        return;
    }
    const bool lived_long = Clock::now() - child.start >= kLongLife;
    child.pause = lived_long || child.pause == seconds(0) ? seconds(1) : std::min(child.pause * 2, kLongestPause);
    child.start = Clock::now() + child.pause;
    report(what + "; it starts again in " + std::to_string(child.pause.count()) + " s");
}

void Supervisor::report_who_is_awaited() {
    if (is_ready_ || is_awaited_reported_ || Clock::now() < begin_ + kUsualStart) return;
    is_awaited_reported_ = true;
    for (const Child &child : children_)
        if (!child.was_ready) report(describe(child.service) + " is not registered yet");
}

} // namespace switchd
