// The options of the command line of vsh, and the text after them in its help.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace shell {

struct Options;

// Declare the options so that a parse of the command line sets them.
void declare_options(CLI::App &app, Options &options);

// After the parse: set from the environment what only some options permit.
void take_variables(Options &options);
// After the parse: let the help name these variables.
void name_variables(CLI::App &app);

// Whether the command line, which may be wrong, has --complete. Then nothing but candidates may be printed.
bool asks_for_candidates(const CLI::App &app);

// What the help says of one option, for the manual and for the completions of the user's shell.
struct OptionUsage {
    std::vector<std::string> names; // such as -c and --command
    std::string argument;           // its name; empty for a flag
    std::vector<std::string> words; // all that the argument may be; empty if there is no such list
    std::string meaning;
    std::string variable;                     // of the environment, with the same meaning; may be empty
    std::vector<std::string> needs, excludes; // names of other options
    bool may_repeat = false;
};
std::vector<OptionUsage> usages_of_options();

} // namespace shell
