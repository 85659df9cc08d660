// The environment holds the deadline of the command that started this shell, in nanoseconds of the steady clock, which
// is the same for all processes of the machine.
#include "shell/deadline.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace shell {
namespace {

using Clock = std::chrono::steady_clock;

constexpr char kVariable[] = "VSH_DEADLINE_AT";

Deadline inherited_deadline() {
    const char *const text = std::getenv(kVariable);
    int64_t at = 0;
    if (text == nullptr || std::from_chars(text, text + std::strlen(text), at).ec != std::errc()) return {};
    return Clock::time_point(std::chrono::nanoseconds(at));
}

} // namespace

Deadline deadline_in(std::optional<double> seconds) {
    const Deadline inherited = inherited_deadline();
    if (!seconds) return inherited;
    const auto own =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds));
    return inherited ? std::min(own, *inherited) : own;
}

void export_deadline(const Deadline &deadline) {
    if (!deadline) return;
    const std::chrono::nanoseconds at = deadline->time_since_epoch();
    setenv(kVariable, std::to_string(at.count()).c_str(), 1);
}

std::optional<std::chrono::nanoseconds> time_left(const Deadline &deadline) {
    if (!deadline) return {};
    return std::max(*deadline + kGrace - std::chrono::steady_clock::now(), std::chrono::nanoseconds(0));
}

bool is_overdue(const Deadline &deadline) {
    return deadline && time_left(deadline)->count() == 0;
}

} // namespace shell
