// What the shell says of a command's verdict.
#pragma once

#include <string>
#include <vector>

#include "shell/verdict.h"

namespace shell {

// Write to standard error what is missing, one line for each service by name and SAP.
void report(const Verdict &verdict);
// The names of what is missing, from the messages of a command.
std::vector<std::string> missing_in(const std::vector<std::string> &messages);
// The same as members of a JSON object: "missing" and "services".
std::string json_members(const Verdict &verdict);

} // namespace shell
