#include "service/link.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace service {
namespace {

constexpr std::chrono::milliseconds kPatience(2000); // for one answer of the registry
constexpr std::chrono::milliseconds kPause(3000);    // after a wait in vain

} // namespace

void News::lost() {
    is_up_ = false;
    spread("the connection to " + url_ + " was lost; it is being made again");
}

void News::restored() {
    ++times_restored_;
    is_up_ = true;
    spread("the connection to " + url_ + " is back");
}

void News::closed(const std::string &why) {
    is_up_ = false;
    {
        const std::lock_guard lock(mutex_);
        why_closed_ = why;
    }
    spread("the connection to " + url_ + " was closed: " + why);
}

void News::refused(const std::string &what) {
    spread("the server at " + url_ + " reports: " + what);
}

void News::add(const std::shared_ptr<Inbox> &inbox) {
    const std::lock_guard lock(mutex_);
    inboxes_.push_back(inbox);
}

std::optional<std::string> News::why_closed() {
    const std::lock_guard lock(mutex_);
    return why_closed_;
}

void News::spread(const std::string &text) {
    const std::lock_guard lock(mutex_);
    std::erase_if(inboxes_, [](const auto &one) { return one.expired(); });
    const std::size_t count = inboxes_.size();
    const std::string whose = count > 1 ? " (for all " + std::to_string(count) + " services of the process)" : "";
    bool is_reported = false;
    for (const auto &one : inboxes_) {
        const auto inbox = one.lock();
        if (!inbox) continue;
        if (!std::exchange(is_reported, true)) inbox->add_event(text + whose);
        inbox->wake();
    }
}

std::shared_ptr<Link> Link::to(const nats::Access &access) {
    static std::mutex mutex;
    static std::map<std::pair<std::string, std::string>, std::weak_ptr<Link>> links;
    const std::lock_guard lock(mutex);
    std::erase_if(links, [](const auto &one) { return one.second.expired(); });
    std::weak_ptr<Link> &place = links[{access.url, access.credentials.value_or("")}];
    auto link = place.lock();
    if (link && !link->news().why_closed()) return link;
    link = std::make_shared<Link>(access);
    place = link;
    return link;
}

Link::Link(const nats::Access &access)
    : url_(access.url),
      news_(std::make_shared<News>(access.url)),
      connection_(nats::connect(access, nats::Reconnects::kForever, news_)) {}

std::shared_ptr<nats::Registry> Link::registry() {
    const std::lock_guard lock(mutex_);
    const uint64_t times = news_->times_restored();
    if (!registry_ || registry_of_ != times) {
        if (Clock::now() < pause_end_) throw nats::NoAnswer("the registry of services does not answer");
        open_registry();
        registry_of_ = times;
    }
    return registry_;
}

// A thread that waits for the mutex meanwhile does not wait a second time. The mutex must be locked.
void Link::open_registry() {
    try {
        registry_ = std::make_shared<nats::Registry>(connection_.get(), nats::Registry::Missing::kIsMade, kPatience);
    } catch (const nats::NoAnswer &) {
        pause_end_ = Clock::now() + kPause;
        throw;
    }
}

std::optional<Clock::time_point> Link::registry_pause() {
    const std::lock_guard lock(mutex_);
    if (Clock::now() >= pause_end_) return {};
    return pause_end_;
}

void Link::pause_registry() {
    const std::lock_guard lock(mutex_);
    pause_end_ = Clock::now() + kPause;
}

void Link::forget_registry() {
    const std::lock_guard lock(mutex_);
    registry_.reset();
}

} // namespace service
