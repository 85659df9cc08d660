// What has come for a service, and its descriptor: a timer that runs out when there is something to do.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "nats/objects.h"

namespace service {

using Clock = std::chrono::steady_clock;

struct Arrived {
    nats::Message message;
    Clock::time_point when;
};

// Any thread may call any function.
class Inbox {
  public:
    Inbox(); // throws Failure
    ~Inbox();
    Inbox(const Inbox &) = delete;
    Inbox &operator=(const Inbox &) = delete;

    int descriptor() const { return timer_; }

    void add(nats::Message message); // which is dropped if too many wait
    void add_event(std::string text);
    void wake(); // something else is to be looked at
    void stop(); // also by a signal handler

    struct Contents {
        std::deque<Arrived> messages;
        std::vector<std::string> events;
        bool is_woken = false, has_dropped = false;
    };
    Contents take();
    bool take_stop();

    // When the descriptor becomes readable, unless something comes before.
    void wake_at(Clock::time_point due);
    void wake_before(Clock::time_point due); // or earlier, as was set

  private:
    void arm(Clock::time_point due);

    int timer_;
    std::atomic<bool> is_stopped_ = false;
    std::mutex mutex_; // of what follows
    Contents contents_;
    Clock::time_point due_ = Clock::time_point::max();
};

} // namespace service
