// What is wrong with a command line.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace shell {

class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error; // what() is one line
    // The part of the line that is wrong, which may be empty at its end, and what would fit there.
    CommandError(const std::string &what, std::string_view where, std::vector<std::string> words = {})
        : std::runtime_error(what), part(where), expected(std::move(words)) {}

    std::string_view part; // its data is null if the message concerns no part of the line
    std::vector<std::string> expected;
};

// Write the message to standard error, and below it the line with the part marked.
void report(const CommandError &error, std::string_view line);

} // namespace shell
