// One command has one connection, which is not made again when it breaks: answers may be lost with it. The reply
// subject is new for every command, so that no answer to an earlier one arrives, and its last word is the SAP of the
// service that answers. What does not fit to that is dropped. After a loss nothing more is received, because a reply
// with a hole in it could be taken for another one.
#include "transport/nats_carrier.h"

#include <qarncli/globals.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "transport/answers.h"

namespace transport {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using sim::Moment;

constexpr milliseconds kSlice(50); // of a wait, between two checks for services that have left

Moment earliest(std::initializer_list<Moment> moments) {
    Moment first;
    for (const Moment &moment : moments)
        if (moment && (!first || *moment < *first)) first = moment;
    return first;
}

bool is_over(const Moment &moment) {
    return moment && Clock::now() >= *moment;
}

std::string name_of(uint32_t sap) {
    const auto &services = sim::current().services;
    const auto found = std::ranges::find(services, sap, &sim::Service::sap);
    const std::string number = "SAP " + std::to_string(sap);
    return found != services.end() && !found->name.empty() ? found->name + " (" + number + ")" : number;
}

class NatsCarrier : public sim::Carrier {
  public:
    explicit NatsCarrier(Settings settings) : settings_(std::move(settings)) {}

    void begin() override {
        answers_.reset(); // of the command before
        presence_.reset();
        connection_ = nats::connect(settings_.access, nats::Reconnects::kNo);
        reply_subject_ = nats::new_reply_subject(settings_.place, nats::user_of(settings_.access));
        answers_.emplace(connection_.get(), reply_subject_, settings_.bounds);
        presence_.emplace(connection_.get(), settings_.place, settings_.registered.get());
        is_lost_ = false;
        why_not_sent_.clear();
        reported_.clear();
        add_services(sim::current(), presence_->listed());
    }

    std::vector<uint32_t> consumers(uint32_t opcode) override {
        std::vector<uint32_t> saps;
        if (opcode != QARN_OPC_REQUEST) return saps;
        for (const sim::Service &service : sim::current().services)
            if (service.consumer) saps.push_back(service.sap);
        return saps;
    }

    int send(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) override {
        if (sap != 0 && !is_there(sap)) return EPIPE;
        if (is_too_large(payload.size())) return EMSGSIZE;
        const std::string subject =
            sap != 0 ? nats::sap_subject(settings_.place, sap) : nats::opcode_subject(settings_.place, opcode);
        const natsStatus status =
            natsConnection_PublishRequest(connection_.get(), subject.c_str(), reply_subject_.c_str(), payload.data(),
                                          static_cast<int>(payload.size()));
        if (status != NATS_OK) lose(std::string("the request was not sent: ") + natsStatus_GetText(status));
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
        try {
            if (auto message = next_before(limit, wait, transport)) return {0, std::move(*message)};
        } catch (const nats::Error &error) {
            lose(error.what());
        }
        return {ETIME, {}};
    }

    std::string why_not_sent() const override { return why_not_sent_; }

    std::string why_silent(uint32_t sap) const override {
        if (!presence_ || !presence_->had(sap)) return "is not registered";
        if (!presence_->has(sap)) return "ended before it had sent its reply";
        return is_lost_ ? "its reply was lost" : "";
    }

  private:
    bool is_there(uint32_t sap) {
        if (presence_->has(sap)) return true;
        why_not_sent_ = name_of(sap) + ' ' + why_silent(sap);
        return false;
    }

    bool is_too_large(std::size_t size) {
        const int64_t most = natsConnection_GetMaxPayload(connection_.get());
        if (static_cast<int64_t>(size) <= most) return false;
        why_not_sent_ = "the request has " + std::to_string(size) +
                        " bytes, and the max_payload of the NATS server is " + std::to_string(most) +
                        "; raise that in its configuration";
        return true;
    }

    // None when the limit is over, everybody who is awaited has gone, or messages were lost before.
    std::optional<sim::Message> next_before(const Moment &limit, sim::WatchedWait &wait, sim::Transport &transport) {
        while (!is_lost_) {
            const bool is_last = is_over(limit) || has_nobody_left();
            const Moment slice = Clock::now() + (is_last ? milliseconds(0) : kSlice);
            if (const nats::Message answer = answers_->next(*earliest({slice, limit, wait.next_call()}))) {
                if (auto message = checked(answer)) return message;
                continue;
            }
            if (is_last || transport.is_interrupted()) return {};
            if (is_over(wait.next_call())) wait.call();
            presence_->update();
        }
        return {};
    }

    // What the service sent last comes before the news that it has gone, so that one more receive finds it.
    bool has_nobody_left() const {
        const auto has_left = [&](uint32_t sap) { return sap == 0 || !presence_->has(sap); };
        return std::all_of(saps, saps + std::max(num_saps, 0), has_left);
    }

    std::optional<sim::Message> checked(const nats::Message &answer) {
        const uint32_t sap = sap_of(answer);
        const std::string_view payload = payload_of(answer);
        const Fault fault = fault_of(payload, sap);
        if (fault.text.empty()) return sim::Message{QARN_OPC_REPLY, sim::Bytes(payload)};
        if (!reported_.insert(sap).second) return {};
        std::string line = "an answer of " + name_of(sap) + " was dropped, because it " + fault.text;
        if (fault.named) line.append(" ").append(name_of(*fault.named));
        report(line);
        return {};
    }

    void lose(const std::string &why) {
        if (!is_lost_) report("answers were lost: " + why);
        is_lost_ = true;
    }

    void report(const std::string &text) const {
        if (auto &watch = sim::current().transport.watch) watch->ended();
        if (settings_.report) return settings_.report(text);
        std::fprintf(stderr, "transport: %s\n", text.c_str());
    }

    Settings settings_;
    nats::Connection connection_; // the last one to go
    std::string reply_subject_;
    std::optional<Answers> answers_;
    std::optional<Presence> presence_;
    bool is_lost_ = false;
    std::string why_not_sent_;
    std::set<uint32_t> reported_; // SAPs of which an answer was dropped
};

} // namespace

std::shared_ptr<sim::Carrier> make_nats_carrier(Settings settings) {
    return std::make_shared<NatsCarrier>(std::move(settings));
}

} // namespace transport
