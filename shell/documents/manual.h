// Lists of the manual page, in the language mdoc(7).
#pragma once

#include <string>
#include <vector>

#include "shell/options.h"
#include "shell/usage.h"

namespace shell {

std::string options_of_manual(const std::vector<OptionUsage> &options);
std::string variables_of_manual(const std::vector<OptionUsage> &options); // of the environment
std::string usages_of_manual(const std::vector<Usage> &usages);           // of commands, forms, ...

} // namespace shell
