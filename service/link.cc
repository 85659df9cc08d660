#include "service/link.h"

#include <map>
#include <utility>

namespace service {

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
    std::erase_if(inboxes_, [](const auto &one) { return one.expired(); });
    inboxes_.push_back(inbox);
}

std::optional<std::string> News::why_closed() {
    const std::lock_guard lock(mutex_);
    return why_closed_;
}

void News::spread(const std::string &text) {
    const std::lock_guard lock(mutex_);
    for (const auto &one : inboxes_)
        if (const auto inbox = one.lock()) inbox->add_event(text);
}

std::shared_ptr<Link> Link::to(const nats::Access &access) {
    static std::mutex mutex;
    static std::map<std::pair<std::string, std::string>, std::weak_ptr<Link>> links;
    const std::lock_guard lock(mutex);
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
        registry_ = std::make_shared<nats::Registry>(connection_.get(), nats::Registry::Missing::kIsMade);
        registry_of_ = times;
    }
    return registry_;
}

void Link::forget_registry() {
    const std::lock_guard lock(mutex_);
    registry_.reset();
}

} // namespace service
