// The registration of a service, from its claim to its end.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "nats/registry.h"
#include "service/inbox.h"
#include "service/link.h"

namespace service {

// One thread at a time may call the functions, but is_registered and note_answer any thread.
class Membership {
  public:
    using Report = std::function<void(const std::string &text)>;

    Membership(nats::Registration registration, std::shared_ptr<Link> link, std::shared_ptr<Inbox> inbox,
               Report report);
    ~Membership(); // takes the registration away
    Membership(const Membership &) = delete;
    Membership &operator=(const Membership &) = delete;

    // Throws Failure if the SAP has another owner, and nats::Error.
    void begin();

    // Only a service that is registered answers, because another one may have got its SAP while the connection was
    // broken.
    bool is_registered() const { return is_registered_ && times_restored_ == link_->news().times_restored(); }

    void register_after_loss(); // if the connection was broken
    void renew_if_due();
    void wake_when_due();

    // The last answer is written after it has gone.
    void note_answer(const nats::LastAnswer &answer);

  private:
    std::string key() const;
    bool is_due();
    Clock::time_point next_due() const;
    void try_to_renew();
    void renew();
    void settle();
    void postpone(const std::string &why, std::chrono::milliseconds pause);

    nats::Registration registration_;
    const std::shared_ptr<Link> link_;
    const std::shared_ptr<Inbox> inbox_;
    const Report report_;

    std::atomic<bool> is_registered_ = false;
    std::atomic<uint64_t> times_restored_; // of the connection, as far as the service knows
    bool is_in_trouble_ = false;
    Clock::time_point next_renewal_;
    std::mutex mutex_; // of what follows
    std::optional<nats::LastAnswer> unwritten_answer_;
    Clock::time_point answer_due_; // when it is to be written
};

} // namespace service
