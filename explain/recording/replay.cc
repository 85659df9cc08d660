#include "explain/recording/replay.h"

#include <qarncli/message.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

#include "sim/description.h"
#include "sim/saved_config.h"

namespace explain::recording {
namespace {

using std::chrono::nanoseconds;

constexpr std::time_t kQuarterOfAnHour = 900, kDay = 86400; // zones differ by no less, and by no more

// A zone of this many seconds east, as the variable TZ has it.
std::string zone_at(std::time_t east) {
    const std::time_t minutes = std::abs(east) / 60;
    char zone[32];
    std::snprintf(zone, sizeof zone, "<ZZZ>%c%02d:%02d", east < 0 ? '+' : '-', static_cast<int>(minutes / 60),
                  static_cast<int>(minutes % 60));
    return zone;
}

std::time_t rounded_to_zone(std::time_t difference) {
    const std::time_t half = difference < 0 ? -kQuarterOfAnHour / 2 : kQuarterOfAnHour / 2;
    return (difference + half) / kQuarterOfAnHour * kQuarterOfAnHour;
}

} // namespace

Replay::Replay(std::shared_ptr<const Recording> recording, Pace pace) : recording_(std::move(recording)), pace_(pace) {
    for (const Event &event : recording_->events)
        take(event);
}

void Replay::take(const Event &event) {
    const bool is_from_service = event.direction == Direction::kFromServices;
    if (event.kind == Kind::kRequest) errors_of_sends_.push_back(0);
    if (event.kind == Kind::kMessage || (event.kind == Kind::kNothing && is_from_service)) arrivals_.push_back(&event);
    if (event.kind == Kind::kNothing && !is_from_service && !errors_of_sends_.empty())
        errors_of_sends_.back() = static_cast<int>(event.value);
    if (event.kind == Kind::kFact) take_fact(event);
}

void Replay::take_fact(const Event &event) {
    facts_[event.opcode].push_back(&event);
    if (event.opcode == kTimeOfHeader) take_time(event);
    const bool is_text = event.opcode == static_cast<uint32_t>(sim::FactKind::kTextFolder);
    if (is_text && event.value == sim::kFolderWithText && !saved_text_) saved_text_.emplace(event.data);
}

// The text has the time of the zone in which it was printed, and the event has the moment.
void Replay::take_time(const Event &event) {
    std::tm local = {};
    if (::strptime(event.data.c_str(), "%a %b %e %H:%M:%S %Y", &local) == nullptr) return;
    const std::time_t shown = ::timegm(&local);
    const std::time_t difference = shown - static_cast<std::time_t>(event.time / 1000000000);
    const std::time_t east = std::abs(difference) < kDay ? rounded_to_zone(difference) : 0;
    time_ = shown - east;
    zone_ = zone_at(east);
}

void Replay::begin() {
    begin_ = Clock::now();
    next_arrival_ = next_send_ = 0;
    next_fact_.clear();
    if (!zone_.empty()) ::setenv("TZ", zone_.c_str(), 1);
    for (const Event *problem : facts_[static_cast<uint32_t>(sim::FactKind::kStoreProblem)])
        sim::report_earlier_problem(problem->data);
}

std::vector<uint32_t> Replay::consumers(uint32_t opcode) {
    std::vector<uint32_t> saps;
    for (const sim::Service &service : sim::current().services)
        if (service.consumer && opcode == QARN_OPC_REQUEST) saps.push_back(service.sap);
    return saps;
}

int Replay::send(uint32_t, uint32_t, const sim::Bytes &) {
    return next_send_ < errors_of_sends_.size() ? errors_of_sends_[next_send_++] : 0;
}

sim::Carrier::Arrival Replay::receive(sim::Transport::Endpoint &, uint32_t opcode, uint32_t) {
    if (opcode != QARN_OPC_REPLY || next_arrival_ == arrivals_.size()) return {ETIME, {}};
    const Event &event = *arrivals_[next_arrival_++];
    const nanoseconds after = time_of(event);
    if (pace_ == Pace::kRecorded) wait_until(begin_ + after);
    if (event.kind == Kind::kMessage) return {0, {QARN_OPC_REPLY, event.data, 0, after}};
    return {event.value != 0 ? static_cast<int>(event.value) : ETIME, {}};
}

// After the beginning of the recorded command.
nanoseconds Replay::time_of(const Event &event) const {
    constexpr uint64_t kLongest = nanoseconds(std::chrono::hours(24 * 365)).count();
    const uint64_t first = recording_->events.front().time;
    return nanoseconds(std::min(event.time > first ? event.time - first : 0, kLongest));
}

void Replay::wait_until(Clock::time_point end) {
    const auto &deadline = sim::current().transport.deadline;
    std::this_thread::sleep_until(std::min(end, deadline.value_or(end)));
}

std::string Replay::why_not_sent() const {
    const auto found = facts_.find(kReasonNotSent);
    return found != facts_.end() ? found->second.front()->data : "";
}

std::string Replay::why_silent(uint32_t sap) const {
    const auto found = facts_.find(kReasonOfSilence);
    if (found == facts_.end()) return "";
    const auto event = std::ranges::find(found->second, sap, &Event::sap);
    return event != found->second.end() ? (*event)->data : "";
}

sim::Fact Replay::next(sim::FactKind kind) {
    const std::vector<const Event *> &facts = facts_[static_cast<uint32_t>(kind)];
    std::size_t &next = next_fact_[kind];
    return next < facts.size() ? fact_of(*facts[next++]) : sim::Fact{kind};
}

std::unique_ptr<sim::Switch> switch_of(const Recording &recording) {
    auto sw = std::make_unique<sim::Switch>();
    try {
        sim::load_description_text(*sw, recording.description, "the switch");
    } catch (const sim::DescriptionError &error) {
        throw Error(std::string("it describes no switch: ") + error.what());
    }
    sw->store.clear();
    sw->hides_secrets = recording.command.hides_secrets;
    sw->has_unknown_interfaces = recording.command.has_unknown_interfaces;
    return sw;
}

void replay_on(sim::Switch &sw, std::shared_ptr<const Recording> recording, Pace pace) {
    auto replay = std::make_shared<Replay>(std::move(recording), pace);
    sw.transport.carrier = replay;
    sw.facts = std::move(replay);
}

} // namespace explain::recording
