#include "switchd/supervisor.h"

#include <poll.h>
#include <qarncli/message.h>
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
constexpr std::ptrdiff_t kMostStarting = 50;        // at the same time, unless they take longer than usual
constexpr std::size_t kMostNames = 10;              // in one message
constexpr int kMostFailures = 3;                    // of a service that was never ready
constexpr int kReadyDescriptor = 3;                 // in a service

bool is_readable(const Descriptor &descriptor) {
    struct pollfd polled = {.fd = descriptor.get(), .events = POLLIN, .revents = 0};
    return poll(&polled, 1, 0) == 1;
}

} // namespace

Cleaner::Cleaner(const nats::Access &access)
    : connection_(nats::connect(access, nats::Reconnects::kForever)),
      registry_(connection_.get(), nats::Registry::Missing::kIsMade) {}

void Cleaner::remove(const Service &service, pid_t child) try {
    if (natsConnection_Status(connection_.get()) != NATS_CONN_STATUS_CONNECTED)
        throw nats::Error("the NATS server is away");
    const auto now = std::chrono::steady_clock::now();
    if (now < next_try_) throw nats::Error("the NATS server did not answer");
    next_try_ = now + nats::kLifetime;
    for (const uint32_t opcode : {uint32_t{QARN_OPC_REQUEST}, nats::kNoOpcode}) {
        const auto found = registry_.find(service.place, opcode, service.sap);
        if (found && found->pid == child && found->host == name_of_host()) registry_.expire(*found);
    }
    next_try_ = now;
} catch (const nats::Error &error) {
    report("the registration of " + describe(service) + " could not be removed, and lasts up to " +
           std::to_string(nats::kLifetime.count()) + " s: " + error.what());
}

bool Supervisor::Child::is_starting(Clock::time_point now) const {
    return pid > 0 && !is_registered && now < start + kUsualStart;
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
    child.was_started = true;
    child.is_registered = false;
}

// What cannot be started at all ends switchd. Later, as while the program is replaced, it is another death.
void Supervisor::start_or_retry(Child &child) try { start(child); } catch (const nats::Error &error) {
    if (!child.was_started) throw;
    start_later(child, describe(child.service) + ": " + error.what());
}

void Supervisor::start_due(Clock::time_point now) {
    auto starting = std::ranges::count_if(children_, [&](const Child &child) { return child.is_starting(now); });
    for (Child &child : children_) {
        if (child.pid > 0 || child.start > now) continue;
        if (starting++ >= kMostStarting) return;
        start_or_retry(child);
    }
}

int Supervisor::run() {
    while (!status_) {
        const Clock::time_point now = Clock::now();
        start_due(now);
        if (!is_ready_ && std::ranges::all_of(children_, &Child::was_ready)) {
            is_ready_ = true;
            settings_.ready();
        }
        report_who_is_awaited();
        wait(now);
    }
    return *status_;
}

// To the next start, or to the moment from which a slow one keeps others no longer from starting.
int Supervisor::milliseconds_to_next(Clock::time_point now) const {
    auto next = Clock::time_point::max();
    if (!is_ready_ && !is_awaited_reported_) next = begin_ + kUsualStart;
    for (const Child &child : children_) {
        if (child.pid < 0 && child.start > now) next = std::min(next, child.start);
        if (child.is_starting(now)) next = std::min(next, child.start + kUsualStart);
    }
    if (next == Clock::time_point::max()) return -1;
    return static_cast<int>(std::max<int64_t>(std::chrono::ceil<milliseconds>(next - Clock::now()).count(), 0));
}

void Supervisor::wait(Clock::time_point now) {
    std::vector<struct pollfd> awaited = {
        {.fd = signals_.get(), .events = POLLIN, .revents = 0},
        {.fd = settings_.engine != nullptr ? settings_.engine->log() : -1, .events = POLLIN, .revents = 0}};
    awaited.reserve(children_.size() + awaited.size());
    for (const Child &child : children_)
        awaited.push_back({.fd = child.ready.get(), .events = POLLIN, .revents = 0});
    if (poll(awaited.data(), awaited.size(), milliseconds_to_next(now)) <= 0) return;
    for (std::size_t i = 0; i < children_.size(); ++i)
        if (awaited[i + 2].revents != 0) take_ready(children_[i]);
    if (awaited[1].revents != 0) settings_.engine->read_log();
    if (awaited[0].revents != 0) take_signals();
}

void Supervisor::take_ready(Child &child) {
    char newline = 0;
    child.is_registered = read(child.ready.get(), &newline, 1) == 1;
    child.was_ready = child.was_ready || child.is_registered;
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
        if (settings_.engine != nullptr && pid == settings_.engine->pid()) server_has_died(wait_status);
        const auto child = std::ranges::find(children_, pid, &Child::pid);
        if (child != children_.end()) has_died(*child, wait_status);
    }
}

void Supervisor::server_has_died(int wait_status) {
    settings_.engine->has_ended();
    if (status_) return;
    report("nats-server ended with " + describe_end(wait_status) + "; all services end");
    status_ = 1;
}

void Supervisor::has_died(Child &child, int wait_status) {
    const pid_t pid = std::exchange(child.pid, -1);
    if (status_) return;
    if (is_readable(child.ready)) take_ready(child);
    if (child.is_registered && settings_.cleaner != nullptr) settings_.cleaner->remove(child.service, pid);
    start_later(child, describe(child.service) + " ended with " + describe_end(wait_status));
}

void Supervisor::start_later(Child &child, const std::string &reason) {
    if (!child.was_ready && ++child.failures == kMostFailures) {
        give_up(child, reason);
        return;
    }
    const bool lived_long = Clock::now() - child.start >= kLongLife;
    child.pause = lived_long || child.pause == seconds(0) ? seconds(1) : std::min(child.pause * 2, kLongestPause);
    child.start = Clock::now() + child.pause;
    report(reason + "; it starts again in " + std::to_string(child.pause.count()) + " s");
}

// A service of the right kind ends with status 0 after a signal only.
void Supervisor::give_up(const Child &child, const std::string &reason) {
    const bool is_another_program = reason.ends_with(describe_end(0));
    report(reason + ' ' + std::to_string(kMostFailures) + " times before it was registered; all services end" +
           (is_another_program ? "; is " + settings_.command(child.service).front() + " a qarn-service?" : ""));
    status_ = 1;
}

void Supervisor::report_who_is_awaited() {
    if (is_ready_ || is_awaited_reported_ || Clock::now() < begin_ + kUsualStart) return;
    is_awaited_reported_ = true;
    std::string names;
    std::size_t count = 0;
    for (const Child &child : children_) {
        if (child.was_ready) continue;
        if (++count <= kMostNames) names += (count == 1 ? "" : ", ") + describe(child.service);
    }
    const std::string others = count > kMostNames ? " and " + std::to_string(count - kMostNames) + " more" : "";
    report("not registered yet: " + names + others);
}

} // namespace switchd
