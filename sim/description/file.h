// Reading of a description file as a text.
#pragma once

#include <chrono>
#include <string>

namespace sim {

// How long a description may take to come through a pipe or from a terminal.
constexpr std::chrono::seconds kDescriptionPatience{5};

// The text of the file. Throws DescriptionError if the file cannot be read, is larger than 32 MiB, or does not end in
// time.
std::string read_description(const std::string &path, std::chrono::milliseconds patience = kDescriptionPatience);

} // namespace sim
