// A connection to a server, which the services of a process share.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "nats/connection.h"
#include "nats/registry.h"
#include "service/inbox.h"

namespace service {

// The news of a connection. One of its services reports them, and all look what has changed.
class News : public nats::Observer {
  public:
    explicit News(std::string url) : url_(std::move(url)) {}

    void lost() override;
    void restored() override;
    void closed(const std::string &why) override;
    void refused(const std::string &what) override;

    void add(const std::shared_ptr<Inbox> &inbox);
    bool is_up() const { return is_up_; }
    uint64_t times_restored() const { return times_restored_; }
    std::optional<std::string> why_closed(); // none: it is not closed for good

  private:
    void spread(const std::string &text);

    const std::string url_;
    std::atomic<bool> is_up_ = true;
    std::atomic<uint64_t> times_restored_ = 0;
    std::mutex mutex_; // of what follows
    std::vector<std::weak_ptr<Inbox>> inboxes_;
    std::optional<std::string> why_closed_;
};

class Link {
  public:
    // The connection with this access, which is made if the process has none. Throws nats::Error.
    static std::shared_ptr<Link> to(const nats::Access &access);

    explicit Link(const nats::Access &access);

    natsConnection *connection() const { return connection_.get(); }
    News &news() const { return *news_; }
    const std::string &url() const { return url_; }

    // The registry, which is made again for a server that has lost it. Throws nats::Error.
    std::shared_ptr<nats::Registry> registry();
    void forget_registry(); // after an error

    // After a wait in vain no service waits for the registry, until this moment; none: they may ask it.
    std::optional<Clock::time_point> registry_pause();
    void pause_registry();

  private:
    void open_registry();

    const std::string url_;
    std::shared_ptr<News> news_;
    nats::Connection connection_;
    std::mutex mutex_; // of what follows
    std::shared_ptr<nats::Registry> registry_;
    uint64_t registry_of_ = 0; // times_restored() when it was made
    Clock::time_point pause_end_ = {};
};

} // namespace service
