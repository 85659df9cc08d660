// The usage of all commands, for the help and the manual.
#pragma once

#include <string>
#include <vector>

namespace shell {

// One command, form, narrowing or filter. Its argument, if it has one, comes last.
struct Usage {
    std::string words;
    std::string argument;
    bool is_optional = false; // the argument
    std::string meaning;
};
std::vector<Usage> usages_of_commands();
std::vector<Usage> usages_of_forms();      // the same after every display
std::vector<Usage> usages_of_narrowings(); // of a form
std::vector<Usage> usages_of_filters();    // without their bar

// All of them as the help shows them.
std::string list_of_commands();

} // namespace shell
