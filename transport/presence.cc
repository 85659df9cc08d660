#include "transport/presence.h"

#include <string>
#include <utility>

namespace transport {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLookInterval(1);

bool is_removal(const nats::Message &message) {
    const char *operation = nullptr;
    return natsMsgHeader_Get(message.get(), "KV-Operation", &operation) == NATS_OK;
}

std::map<uint32_t, nats::Registration> by_sap(const Registrations &registrations) {
    std::map<uint32_t, nats::Registration> processes;
    for (const nats::Registration &registration : registrations)
        if (registration.is_registered) processes.emplace(registration.sap, registration);
    return processes;
}

} // namespace

Presence::Presence(natsConnection *connection, nats::Place place, const Registrations *listed)
    : connection_(connection),
      place_(std::move(place)),
      removals_(nats::made<nats::Subscription>(
          "subscription", natsConnection_SubscribeSync, connection,
          ("$KV." + std::string(nats::kBucket) + '.' + nats::all_keys(place_)).c_str())) {
    if (listed != nullptr) {
        all_ = *listed;
    } else {
        registry_.emplace(connection_, nats::Registry::Missing::kIsEmpty);
        all_ = registry_->list(place_);
    }
    listed_ = present_ = by_sap(all_);
    seen_ = Clock::now();
    next_look_ = seen_ + kLookInterval;
}

// Answers may come although the registry cannot be reached. A service that has not been seen for as long as a
// registration lasts would be gone from it.
void Presence::update() {
    if (!was_one_removed() && Clock::now() < next_look_) return;
    try {
        look();
        seen_ = Clock::now();
    } catch (const nats::Error &) {
        if (Clock::now() - seen_ > nats::kLifetime) throw;
    }
    next_look_ = Clock::now() + kLookInterval;
}

void Presence::look() {
    if (!registry_) registry_.emplace(connection_, nats::Registry::Missing::kIsEmpty);
    const Processes now = by_sap(registry_->list_registered(place_));
    std::erase_if(present_, [&](const auto &process) {
        const auto found = now.find(process.first);
        return found == now.end() || !nats::is_same_process(found->second, process.second);
    });
}

bool Presence::was_one_removed() const {
    bool was_removed = false;
    natsMsg *next = nullptr;
    while (natsSubscription_NextMsg(&next, removals_.get(), 0) == NATS_OK)
        was_removed = is_removal(nats::Message(std::exchange(next, nullptr))) || was_removed;
    return was_removed;
}

} // namespace transport
