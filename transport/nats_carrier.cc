// One command has one connection, which is not made again when it breaks: answers may be lost with it. The reply
// subject is new for every command, so that no answer to an earlier one arrives, and its last word is the SAP of the
// service that answers. What does not fit to that is dropped. After a loss nothing more is received, because a reply
// with a hole in it could be taken for another one.
#include "transport/nats_carrier.h"

#include <qarncli/globals.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "nats/registry.h"
#include "sim/switch.h"

namespace transport {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using sim::Moment;

constexpr milliseconds kLookInterval(1000); // the server does not report registrations whose time is over
constexpr milliseconds kSlice(50);          // of a wait, between two checks for removed registrations

Moment earliest(std::initializer_list<Moment> moments) {
    Moment first;
    for (const Moment &moment : moments)
        if (moment && (!first || *moment < *first)) first = moment;
    return first;
}

bool is_over(const Moment &moment) {
    return moment && Clock::now() >= *moment;
}

int64_t milliseconds_to(Clock::time_point end) {
    return std::max<int64_t>(std::chrono::ceil<milliseconds>(end - Clock::now()).count(), 1);
}

std::string_view payload_of(const nats::Message &message) {
    return {natsMsg_GetData(message.get()), static_cast<std::size_t>(natsMsg_GetDataLength(message.get()))};
}

// What is wrong with an answer of the service; empty if nothing is.
std::string fault_of(std::string_view payload, uint32_t sap) {
    qarn_cfg_frag header;
    if (payload.size() < sizeof header) return "is too short for a fragment";
    std::memcpy(&header, payload.data(), sizeof header);
    if (header.sap != sap) return "names SAP " + std::to_string(header.sap);
    if (header.len != payload.size() - sizeof header) return "has another length than it says";
    return "";
}

bool is_removal(const nats::Message &message) {
    const char *operation = nullptr;
    return natsMsgHeader_Get(message.get(), "KV-Operation", &operation) == NATS_OK;
}

class NatsCarrier : public sim::Carrier {
  public:
    explicit NatsCarrier(Settings settings) : settings_(std::move(settings)) {}

    void begin() override {
        connection_ = nats::connect(settings_.access, nats::Reconnects::kNo);
        registry_.emplace(connection_.get(), nats::Registry::Missing::kIsEmpty);
        reply_subject_ = nats::new_reply_subject(settings_.place, nats::user_of(settings_.access));
        answers_ = subscribe(nats::all_answers(reply_subject_));
        removals_ = subscribe("$KV." + std::string(nats::kBucket) + '.' + nats::all_keys(settings_.place));
        nats::check(natsSubscription_SetPendingLimits(answers_.get(), settings_.most_waiting, -1), "subscription");
        is_lost_ = false;
        reported_.clear();
        look();
        list_services();
    }

    std::vector<uint32_t> consumers(uint32_t opcode) override {
        std::vector<uint32_t> saps;
        if (opcode != QARN_OPC_REQUEST) return saps;
        for (const sim::Service &service : sim::current().services)
            if (service.consumer) saps.push_back(service.sap);
        return saps;
    }

    int send(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) override {
        if (sap != 0 && !registered_.contains(sap)) return EPIPE;
        if (static_cast<int64_t>(payload.size()) > natsConnection_GetMaxPayload(connection_.get())) {
            report("the request has " + std::to_string(payload.size()) +
                   " bytes, which is more than the max_payload of the NATS server; raise it in its configuration");
            return EMSGSIZE;
        }
        const std::string subject =
            sap != 0 ? nats::sap_subject(settings_.place, sap) : nats::opcode_subject(settings_.place, opcode);
        const natsStatus status =
            natsConnection_PublishRequest(connection_.get(), subject.c_str(), reply_subject_.c_str(), payload.data(),
                                          static_cast<int>(payload.size()));
        if (status != NATS_OK) lose(natsStatus_GetText(status));
        return status == NATS_OK ? 0 : ENOTCONN;
    }

    Arrival receive(sim::Transport::Endpoint &, uint32_t opcode, uint32_t timeout) override {
        sim::Transport &transport = sim::current().transport;
        if (opcode != QARN_OPC_REPLY) { // services send nothing else
            timeout != 0 ? transport.wait(timeout, timeout) : transport.wait_for_deadline();
            return {ETIME, {}};
        }
        const Moment own = timeout != 0 ? Moment(Clock::now() + transport.unit * timeout) : std::nullopt;
        const Moment limit = earliest({own, transport.deadline});
        sim::WatchedWait wait(transport.watch, limit);
        auto message = next_before(limit, wait);
        return message ? Arrival{0, std::move(*message)} : Arrival{ETIME, {}};
    }

  private:
    nats::Subscription subscribe(const std::string &subject) const {
        return nats::made<nats::Subscription>("subscription", natsConnection_SubscribeSync, connection_.get(),
                                              subject.c_str());
    }

    void look() {
        registered_.clear();
        listed_ = registry_->list(settings_.place);
        for (const nats::Registration &registration : listed_)
            registered_.insert(registration.sap);
        next_look_ = Clock::now() + kLookInterval;
    }

    void list_services() const {
        auto &services = sim::current().services;
        for (const nats::Registration &registration : listed_) {
            const auto found = std::ranges::find(services, registration.sap, &sim::Service::sap);
            sim::Service &service = found != services.end() ? *found : services.emplace_back();
            service.name = registration.name;
            service.sap = registration.sap;
            service.uuid = registration.uuid;
            if (found == services.end()) service.consumer = false;
        }
        for (const nats::Registration &registration : listed_)
            if (registration.opcode == QARN_OPC_REQUEST)
                std::ranges::find(services, registration.sap, &sim::Service::sap)->consumer = true;
    }

    // None when the limit is over, everybody who is awaited has gone, or messages were lost.
    std::optional<sim::Message> next_before(const Moment &limit, sim::WatchedWait &wait) {
        for (;;) {
            if (is_lost_) return {};
            const bool is_last = is_over(limit) || has_nobody_left();
            const Moment slice = Clock::now() + (is_last ? milliseconds(0) : kSlice);
            if (auto message = next_answer(*earliest({slice, limit, wait.next_call()}))) return message;
            if (is_last) return {};
            if (is_over(wait.next_call())) wait.call();
            if (Clock::now() >= next_look_ || was_one_removed()) look_again();
        }
    }

    // What the service sent last comes before the news that it has gone, so that one more receive finds it.
    bool has_nobody_left() const {
        const auto has_left = [&](uint32_t sap) { return sap == 0 || !registered_.contains(sap); };
        return std::all_of(saps, saps + std::max(num_saps, 0), has_left);
    }

    bool was_one_removed() const {
        bool was_removed = false;
        natsMsg *next = nullptr;
        while (natsSubscription_NextMsg(&next, removals_.get(), 0) == NATS_OK)
            was_removed = is_removal(nats::Message(std::exchange(next, nullptr))) || was_removed;
        return was_removed;
    }

    void look_again() {
        try {
            look();
        } catch (const nats::Error &error) {
            lose(error.what());
        }
    }

    std::optional<sim::Message> next_answer(Clock::time_point end) {
        natsMsg *next = nullptr;
        const natsStatus status = natsSubscription_NextMsg(&next, answers_.get(), milliseconds_to(end));
        const nats::Message answer(next);
        if (status == NATS_OK) return checked(answer);
        if (status == NATS_SLOW_CONSUMER) {
            lose("answers came faster than they were read");
        } else if (status != NATS_TIMEOUT) {
            lose("the connection to " + settings_.access.url + " broke: " + natsStatus_GetText(status));
        }
        return {};
    }

    std::optional<sim::Message> checked(const nats::Message &answer) {
        const uint32_t sap = nats::last_number(natsMsg_GetSubject(answer.get())).value_or(0);
        const std::string_view payload = payload_of(answer);
        const std::string fault = fault_of(payload, sap);
        if (fault.empty()) return sim::Message{QARN_OPC_REPLY, sim::Bytes(payload)};
        if (reported_.insert(sap).second)
            report("an answer of SAP " + std::to_string(sap) + " was dropped, because it " + fault);
        return {};
    }

    void lose(const std::string &why) {
        if (!is_lost_) report("answers were lost: " + why);
        is_lost_ = true;
    }

    static void report(const std::string &text) {
        if (auto &watch = sim::current().transport.watch) watch->ended();
        std::fprintf(stderr, "transport: %s\n", text.c_str());
    }

    Settings settings_;
    nats::Connection connection_; // the last one to go
    std::optional<nats::Registry> registry_;
    nats::Subscription answers_, removals_;
    std::string reply_subject_;
    std::vector<nats::Registration> listed_;
    std::set<uint32_t> registered_; // their SAPs
    Clock::time_point next_look_;
    bool is_lost_ = false;
    std::set<uint32_t> reported_; // SAPs of which an answer was dropped
};

} // namespace

std::shared_ptr<sim::Carrier> make_nats_carrier(Settings settings) {
    return std::make_shared<NatsCarrier>(std::move(settings));
}

} // namespace transport
