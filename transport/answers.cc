#include "transport/answers.h"

#include <qarncli/message.h>

#include <algorithm>
#include <cstring>

#include "nats/names.h"

namespace transport {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int64_t kPatience = 5000; // milliseconds, for one answer of the server

int64_t milliseconds_to(Clock::time_point end) {
    return std::max<int64_t>(std::chrono::ceil<milliseconds>(end - Clock::now()).count(), 1);
}

} // namespace

Answers::Answers(natsConnection *connection, const std::string &reply_subject, const Bounds &bounds)
    : connection_(connection),
      subscription_(nats::made<nats::Subscription>("subscription", natsConnection_SubscribeSync, connection,
                                                   nats::all_answers(reply_subject).c_str())) {
    nats::check(natsSubscription_SetPendingLimits(subscription_.get(), bounds.messages, bounds.bytes), "subscription");
    nats::check(natsConnection_FlushTimeout(connection, kPatience),
                "subscription"); // the server has it before it is used
    check_permissions();
}

nats::Message Answers::next(Clock::time_point end) const {
    natsMsg *message = nullptr;
    const natsStatus status = natsSubscription_NextMsg(&message, subscription_.get(), milliseconds_to(end));
    nats::Message answer(message);
    if (status == NATS_OK) return answer;
    check_permissions();
    if (status == NATS_SLOW_CONSUMER) throw nats::Error("they came faster than they were read");
    if (status != NATS_TIMEOUT) throw nats::Error(std::string("the connection broke: ") + natsStatus_GetText(status));
    return {};
}

// The server refuses a request or a subscription by a message that belongs to no call. Without the subscription for
// removals, services that leave are noticed a little later.
void Answers::check_permissions() const {
    const char *text = nullptr;
    if (natsConnection_GetLastError(connection_, &text) != NATS_NOT_PERMITTED || text == nullptr) return;
    if (std::strstr(text, "Subscription to \"$KV.") != nullptr) return;
    throw nats::Error(std::string("the server does not permit this user to ask and to receive answers: ") + text);
}

uint32_t sap_of(const nats::Message &answer) {
    return nats::last_number(natsMsg_GetSubject(answer.get())).value_or(0);
}

std::string_view payload_of(const nats::Message &answer) {
    return {natsMsg_GetData(answer.get()), static_cast<std::size_t>(natsMsg_GetDataLength(answer.get()))};
}

Fault fault_of(std::string_view payload, uint32_t sap) {
    qarn_cfg_frag header;
    if (payload.size() < sizeof header) return {"is too short for a fragment"};
    std::memcpy(&header, payload.data(), sizeof header);
    if (header.sap != sap) return {"names", header.sap};
    if (header.len != payload.size() - sizeof header) return {"has another length than it says"};
    return {};
}

} // namespace transport
