// The reader of recordings. What it takes for a recording comes back from a file; its switch, its mask and its replay
// work whatever is in it.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "explain/recording/file.h"
#include "explain/recording/mask.h"
#include "explain/recording/replay.h"
#include "fuzz/input.h"

namespace {

using explain::recording::Recording;

// Without times: those in a file may have more nanoseconds than a second has.
Recording without_times(Recording recording) {
    for (explain::recording::Event &event : recording.events)
        event.time = 0;
    return recording;
}

void expect_same_back(const Recording &recording) {
    const int file = memfd_create("recording", MFD_CLOEXEC);
    explain::recording::write_recording(recording, file);
    lseek(file, 0, SEEK_SET);
    const Recording back = explain::recording::read_recording(fdopen(file, "rb"));
    const bool is_same = text_of(back.command) == text_of(recording.command) &&
                         back.description == recording.description && back.events == recording.events &&
                         back.digest == recording.digest && back.exit_code == recording.exit_code;
    if (!is_same) std::abort();
}

void replay(const Recording &recording) {
    const auto sw = switch_of(recording);
    sim::make_current(sw.get());
    replay_on(*sw, std::make_shared<const Recording>(recording), explain::recording::Pace::kFull);
    sim::Carrier &carrier = *sw->transport.carrier;
    sim::Transport::Endpoint endpoint;
    for (std::size_t i = 0; i <= recording.events.size(); ++i) {
        carrier.send(0, QARN_OPC_REQUEST, "");
        carrier.receive(endpoint, QARN_OPC_REPLY, 1);
        carrier.why_silent(static_cast<uint32_t>(i));
        sw->facts->next(static_cast<sim::FactKind>(i % (sim::kLastFactKind + 1)));
    }
    carrier.consumers(QARN_OPC_REQUEST);
    carrier.why_not_sent();
    sim::make_current(nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    fuzz::CurrentSwitch sw;
    std::FILE *const file = fmemopen(const_cast<uint8_t *>(data), size, "rb");
    if (file == nullptr) return 0;
    try {
        Recording recording = without_times(explain::recording::read_recording(file));
        expect_same_back(recording);
        replay(recording);
        explain::recording::Mask().apply(*switch_of(recording), recording);
        replay(recording);
    } catch (const explain::recording::Error &) { // no recording, or not of a switch
    }
    return 0;
}
