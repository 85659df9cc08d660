// Checks of a switch: what its description describes in vain, because the library never reads it or leaves it out. Each
// warning has the line, what is lost, and what to do.
#pragma once

#include "sim/findings.h"
#include "sim/switch.h"

namespace sim {

// Warnings in the order of their lines. If the description has errors, a part of the switch is missing (`is_whole` is
// false); then nothing is said to be missing.
// The libraries of in-process services are not loaded.
Findings check_switch(const Switch &sw, bool is_whole = true);

// Everything that is wrong with a description, errors and warnings, in the order of their lines. The check of a file
// also loads the libraries that the file names, each in a child process.
Findings check_description(const std::string &path);
Findings check_description_text(const std::string &text, const std::string &name);

} // namespace sim
