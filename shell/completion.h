// What a line editor does with the suggestions for a line: the rest of a word, and lists for a reader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "shell/suggest.h"

namespace shell {

// What a Tab does.
struct Completion {
    std::string rest;      // to be inserted after what is typed
    bool is_whole = false; // a blank may follow
};
Completion complete(const Suggestions &suggestions);

// The words that may come next, in columns of a terminal.
std::string list_of_words(const Suggestions &suggestions, uint32_t width);

// What may come next, one line each with its help; the values of an argument in columns below it.
std::string list_with_help(const Suggestions &suggestions, uint32_t width);

} // namespace shell
