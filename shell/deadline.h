// The moment by which a command must have ended.
#pragma once

#include <chrono>
#include <optional>

namespace shell {

using Deadline = std::optional<std::chrono::steady_clock::time_point>; // none: the command may take any time

// So many seconds from now, or the deadline of the command that started this shell, whichever comes first.
Deadline deadline_in(std::optional<double> seconds);
// Pass a deadline on to the shells that this process starts.
void export_deadline(const Deadline &deadline);

// How long the shell waits for a child after the deadline, for its part of the output and its report.
inline constexpr std::chrono::seconds kGrace(2);
// Until the grace is over; none without a deadline.
std::optional<std::chrono::nanoseconds> time_left(const Deadline &deadline);
bool is_overdue(const Deadline &deadline);

} // namespace shell
