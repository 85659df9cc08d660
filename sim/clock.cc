// The clock of the library: that of an earlier command, if the switch has its facts.
#include <ctime>
#include <optional>

#include "sim/switch.h"

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the system's has a reserved name
extern "C" std::time_t time(std::time_t *out) noexcept {
    const auto &facts = sim::current().facts;
    const std::optional<std::time_t> earlier = facts ? facts->time() : std::nullopt;
    timespec now = {};
    if (!earlier) clock_gettime(CLOCK_REALTIME, &now);
    const std::time_t time = earlier.value_or(now.tv_sec);
    if (out != nullptr) *out = time;
    return time;
}
