// What is wrong with the options of the command line.
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace shell {

// The text of a message about the error that ended a parse, with the variable from which the wrong value came, if any.
std::string explain(const CLI::ParseError &error, const CLI::App &app);

} // namespace shell
