// Values in JSON output.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "sim/json_text.h"

namespace shell {

using sim::json_text;

// The time in UTC, such as "2026-11-22T23:30:02Z", with the quotes.
std::string json_time(std::time_t at);
// Values in brackets, each on a line of its own.
std::string json_array(const std::vector<std::string> &values);

} // namespace shell
