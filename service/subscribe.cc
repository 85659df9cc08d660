#include "service/subscribe.h"

#include <chrono>

#include "nats/connection.h"
#include "nats/names.h"

namespace service {
namespace {

constexpr std::chrono::milliseconds kPatience(5000); // for one answer of the server

// libnats keeps the inbox until the subscription is complete.
nats::Subscription subscribe_to(natsConnection *connection, const std::string &subject,
                                const std::shared_ptr<Inbox> &inbox) {
    using Kept = std::shared_ptr<Inbox>;
    const auto add = [](natsConnection *, natsSubscription *, natsMsg *message, void *kept) {
        (*static_cast<Kept *>(kept))->add(nats::Message(message));
    };
    const auto complete = [](void *kept) { delete static_cast<Kept *>(kept); };
    auto kept = std::make_unique<Kept>(inbox);
    auto subscription = nats::made<nats::Subscription>("requests", natsConnection_Subscribe, connection,
                                                       subject.c_str(), +add, static_cast<void *>(kept.get()));
    nats::check(natsSubscription_SetOnCompleteCB(subscription.get(), complete, kept.get()), "requests");
    (void)kept.release();
    return subscription;
}

} // namespace

std::vector<nats::Subscription> subscribe(natsConnection *connection, const nats::Registration &registration,
                                          const std::shared_ptr<Inbox> &inbox) {
    std::vector<std::string> subjects = {nats::sap_subject(registration.place, registration.sap)};
    if (registration.opcode != nats::kNoOpcode)
        subjects.push_back(nats::opcode_subject(registration.place, registration.opcode));
    std::vector<nats::Subscription> subscriptions;
    subscriptions.reserve(subjects.size());
    for (const std::string &subject : subjects)
        subscriptions.push_back(subscribe_to(connection, subject, inbox));
    nats::check(natsConnection_FlushTimeout(connection, kPatience.count()), "subscribing to requests");
    check_permitted(connection, subjects);
    return subscriptions;
}

void check_permitted(natsConnection *connection, const std::vector<std::string> &subjects) {
    const char *last = nullptr;
    natsConnection_GetLastError(connection, &last);
    const std::string text = last != nullptr ? last : "";
    for (const std::string &subject : subjects)
        if (text.find(subject + '"') != std::string::npos)
            throw nats::Error(text + "; check that the credentials are those of this service of this switch");
}

} // namespace service
