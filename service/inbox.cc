#include "service/inbox.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "service/border.h"

namespace service {
namespace {

constexpr Clock::time_point kNow(std::chrono::nanoseconds(1)); // long ago
constexpr std::chrono::hours kLongest(24);                     // which fits into any time_t
constexpr std::size_t kMostMessages = 1000;                    // that wait

// The clock of the timer is that of Clock. A time of 0 would disarm it.
void set_timer(int timer, Clock::time_point due) {
    using std::chrono::seconds;
    const auto since_boot = std::clamp(due, kNow, Clock::now() + kLongest).time_since_epoch();
    const auto whole = std::chrono::floor<seconds>(since_boot);
    itimerspec time = {};
    time.it_value.tv_sec = static_cast<time_t>(whole.count());
    time.it_value.tv_nsec = static_cast<long>(std::chrono::nanoseconds(since_boot - whole).count());
    timerfd_settime(timer, TFD_TIMER_ABSTIME, &time, nullptr);
}

} // namespace

Inbox::Inbox() : timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    static_assert(std::atomic<bool>::is_always_lock_free);
    if (timer_ < 0)
        throw Failure(QARN_SERVICE_NO_MEMORY,
                      std::string("no descriptor for the service: ") + std::strerror(errno) + "; raise ulimit -n");
}

Inbox::~Inbox() {
    ::close(timer_);
}

void Inbox::arm(Clock::time_point due) {
    due_ = due;
    set_timer(timer_, due);
    if (is_stopped_) set_timer(timer_, kNow);
}

void Inbox::add(nats::Message message) {
    const std::lock_guard lock(mutex_);
    if (contents_.messages.size() < kMostMessages) {
        contents_.messages.push_back({std::move(message), Clock::now()});
    } else if (!std::exchange(contents_.has_dropped, true)) {
        contents_.events.push_back(std::to_string(kMostMessages) +
                                   " requests wait to be answered; further ones are dropped");
    }
    arm(kNow);
}

void Inbox::add_event(std::string text) {
    const std::lock_guard lock(mutex_);
    contents_.events.push_back(std::move(text));
    arm(kNow);
}

void Inbox::wake() {
    const std::lock_guard lock(mutex_);
    contents_.is_woken = true;
    arm(kNow);
}

void Inbox::stop() {
    const int error = errno; // of what the signal interrupted
    is_stopped_ = true;
    set_timer(timer_, kNow);
    errno = error;
}

Inbox::Contents Inbox::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(contents_, {});
}

bool Inbox::take_stop() {
    return is_stopped_.exchange(false);
}

void Inbox::wake_at(Clock::time_point due) {
    const std::lock_guard lock(mutex_);
    arm(contents_.messages.empty() && contents_.events.empty() && !contents_.is_woken ? due : kNow);
}

void Inbox::wake_before(Clock::time_point due) {
    const std::lock_guard lock(mutex_);
    if (due < due_) arm(due);
}

} // namespace service
