// Keeps one process per service running.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "nats/connection.h"
#include "nats/registry.h"
#include "switchd/engine.h"
#include "switchd/process.h"
#include "switchd/services.h"

namespace switchd {

// Removes the registrations of services that died.
class Cleaner {
  public:
    // Throws nats::Error if the server cannot be reached or has no registry.
    explicit Cleaner(const nats::Access &access);
    // That of the child, if it was the owner. A failure is reported: the registration then ends after its lifetime.
    void remove(const Service &service, pid_t child);

  private:
    nats::Connection connection_;
    nats::Registry registry_;
    std::chrono::steady_clock::time_point next_try_ = {}; // later than now if the server did not answer
};

class Supervisor {
  public:
    struct Settings {
        std::vector<Service> services = {};
        std::function<std::vector<std::string>(const Service &)> command = {};
        Engine *engine = nullptr;   // null: another machine's
        Cleaner *cleaner = nullptr; // null: registrations of the dead end by themselves
        std::function<void()> ready = {};
    };
    // The caller blocks the signals that end switchd, and SIGCHLD.
    explicit Supervisor(Settings settings);
    ~Supervisor(); // ends all services
    Supervisor(const Supervisor &) = delete;
    Supervisor &operator=(const Supervisor &) = delete;

    // Calls `ready` once all services are registered. Returns the exit status, after a signal or when it cannot go on.
    int run();

  private:
    using Clock = std::chrono::steady_clock;
    struct Child {
        Service service;
        pid_t pid = -1;                                       // -1: it does not run
        Descriptor ready = Descriptor();                      // has a byte when the service is registered
        Clock::time_point start = {};                         // of the process; if it does not run, when it will
        std::chrono::seconds pause = std::chrono::seconds(0); // before the last start
        bool was_started = false, was_ready = false;          // at any time
        bool is_registered = false;                           // since its last start
        int failures = 0;                                     // before it was ready for the first time

        bool is_starting(Clock::time_point now) const;
    };

    void start(Child &child) const;
    void start_or_retry(Child &child);
    void start_due(Clock::time_point now);
    void wait(Clock::time_point now);
    void take_signals();
    void reap();
    void server_has_died(int wait_status);
    void has_died(Child &child, int wait_status);
    void start_later(Child &child, const std::string &reason);
    void give_up(const Child &child, const std::string &reason);
    static void take_ready(Child &child);
    void report_who_is_awaited();
    int milliseconds_to_next(Clock::time_point now) const;

    Settings settings_;
    std::vector<Child> children_;
    Descriptor signals_;
    Clock::time_point begin_ = Clock::now();
    bool is_ready_ = false, is_awaited_reported_ = false;
    std::optional<int> status_; // set: it is to end
};

} // namespace switchd
