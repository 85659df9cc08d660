// What a check has found, as lines or as JSON, on standard output.
#pragma once

#include <string>
#include <vector>

#include "explain/check/rule.h"

namespace tlv {

using explain::Finding;

// `file` is the name that the user gave.
void print_lines(const std::string &file, const std::vector<Finding> &findings);
void print_json(const std::string &file, const std::vector<Finding> &findings);
void print_rules();

} // namespace tlv
