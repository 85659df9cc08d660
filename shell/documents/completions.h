// Lists of the completion files for bash, zsh and fish: the options, and what completes their arguments.
#pragma once

#include <string>
#include <vector>

#include "shell/options.h"

namespace shell {

std::string names_for_bash(const std::vector<OptionUsage> &options);
std::string arguments_for_bash(const std::vector<OptionUsage> &options); // one case for each option that has one
std::string options_for_zsh(const std::vector<OptionUsage> &options);    // arguments of _arguments
std::string options_for_fish(const std::vector<OptionUsage> &options);   // commands

} // namespace shell
