#include "explain/recording/recorder.h"

#include <qarncli/message.h>
#include <qarncli/outcome.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <utility>

#include "explain/recording/description.h"
#include "explain/recording/mask.h"
#include "sim/clock.h"

namespace explain::recording {
namespace {

constexpr std::string_view kTimeFormat = "!Time: %s", kTimeLabel = "!Time: ";

uint64_t now() {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1000000000 + static_cast<uint64_t>(time.tv_nsec);
}

uint32_t sap_in(const sim::Bytes &payload) {
    qarn_cfg_frag header;
    if (payload.size() < sizeof header) return 0;
    std::memcpy(&header, payload.data(), sizeof header);
    return header.sap;
}

} // namespace

void Recorder::add(Event event) {
    event.time = now();
    events_.push_back(std::move(event));
}

void Recorder::printed(const char *format, const char *argument, std::string_view text) {
    digest_.add(text);
    if (argument == nullptr && format == kTimeFormat)
        add({.kind = Kind::kFact, .opcode = kTimeOfHeader, .data = std::string(text.substr(kTimeLabel.size()))});
}

void Recorder::sent(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) {
    add({.kind = Kind::kRequest, .direction = Direction::kToServices, .sap = sap, .opcode = opcode, .data = payload});
}

void Recorder::send_failed(int error) {
    add({.kind = Kind::kNothing, .direction = Direction::kToServices, .value = static_cast<uint32_t>(error)});
}

// The library's request to itself is none of the services'.
void Recorder::received(const sim::Message &message) {
    if (message.opcode != QARN_OPC_REPLY) return;
    add({.kind = Kind::kMessage,
         .direction = Direction::kFromServices,
         .sap = sap_in(message.payload),
         .opcode = message.opcode,
         .data = message.payload});
}

void Recorder::received_nothing(int error) {
    add({.kind = Kind::kNothing, .direction = Direction::kFromServices, .value = static_cast<uint32_t>(error)});
}

void Recorder::learned(const sim::Fact &fact) {
    add(event_of(fact));
}

void Recorder::add_reason(FactOf what, uint32_t sap, const std::string &why) {
    if (!why.empty()) add({.kind = Kind::kFact, .sap = sap, .opcode = what, .data = why});
}

// Of a header that was not shown. The time may be shown elsewhere.
void Recorder::note_time() {
    const auto is_time = [](const Event &event) { return event.kind == Kind::kFact && event.opcode == kTimeOfHeader; };
    if (std::ranges::any_of(events_, is_time)) return;
    const std::time_t time = sim::time_of_display();
    char text[32] = "";
    add({.kind = Kind::kFact, .opcode = kTimeOfHeader, .data = ::ctime_r(&time, text)});
}

void Recorder::note_reasons(const sim::Switch &sw) {
    const auto &carrier = sw.transport.carrier;
    if (!carrier) return;
    add_reason(kReasonNotSent, 0, carrier->why_not_sent());
    const qarn_outcome &outcome = *qarn_outcome_last();
    for (uint32_t i = 0; i < outcome.num_services; ++i) {
        const uint32_t sap = outcome.services[i].sap;
        if (outcome.services[i].state == QARN_OUTCOME_SILENT)
            add_reason(kReasonOfSilence, sap, carrier->why_silent(sap));
    }
}

Recording Recorder::take(const sim::Switch &sw, Command command, uint32_t exit_code) {
    std::ranges::replace(command.line, '\n', ' ');
    std::ranges::replace(command.display, '\n', ' ');
    Recording recording = {std::move(command), {}, std::exchange(events_, {}), digest_, exit_code};
    if (recording.command.is_masked) {
        Mask mask;
        recording.description = describe(sw, &mask);
        mask.apply(sw, recording);
    } else {
        recording.description = describe(sw);
    }
    return recording;
}

} // namespace explain::recording
