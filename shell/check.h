// The check of a switch description.
#pragma once

#include <string>

namespace shell {

// Print everything that is wrong with a description to standard output, as lines or as one JSON object. Returns 0 if
// nothing is wrong, 1 for warnings, 2 for errors.
int check_file(const std::string &path, bool as_json);

} // namespace shell
