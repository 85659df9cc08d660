// The clock of the library: that of an earlier command, if the switch has its facts.
#include "sim/clock.h"

#include <optional>

#include "sim/switch.h"

namespace sim {
namespace {

std::optional<std::time_t> last_time;

}

std::time_t time_of_display() {
    return last_time ? *last_time : std::time(nullptr);
}

namespace {

std::time_t read_clock() {
    const auto &facts = current().facts;
    const std::optional<std::time_t> earlier = facts ? facts->time() : std::nullopt;
    if (earlier) return *earlier;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace
} // namespace sim

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the system's has a reserved name
extern "C" std::time_t time(std::time_t *out) noexcept {
    sim::last_time = sim::read_clock();
    if (out != nullptr) *out = *sim::last_time;
    return *sim::last_time;
}
