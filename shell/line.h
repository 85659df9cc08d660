// A command line, matched with the grammar. A bar divides the command from a filter, and each filter from the next.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "shell/command_error.h"
#include "shell/filter.h"
#include "shell/grammar.h"
#include "shell/words.h"

namespace shell {

// A form that shows less, or more, because of what follows it.
struct Narrowed {
    const Narrowing *narrowing = nullptr;
    std::string_view argument; // part of the line; empty without a slot
};

struct Line {
    std::string text; // of the command, with abbreviated words in full
    Action action = nullptr;
    const Display *display = nullptr;
    const Form *form = nullptr;
    Words arguments;                  // the words of the slots, parts of the line that was matched
    std::vector<Narrowed> narrowings; // of the form
    std::vector<Filter> filters;      // what follows the bars
    bool has_text = false;            // that filters can have
    bool is_explained = false;        // each line is shown with its origin

    OwnText own_text = OwnText::kNone; // this text, if it is no configuration

    // Whether it runs a display of the library.
    bool has_display() const { return is_explained || (display != nullptr && own_text == OwnText::kNone); }
    // Whether the last filter saves the text.
    bool is_saved() const { return !filters.empty() && filters.back().kind == FilterKind::kSave; }
    // Whether it is shown as a page.
    bool is_page() const { return !filters.empty() && filters.back().kind == FilterKind::kHtml; }
    bool is_json() const { return std::ranges::find(filters, FilterKind::kJson, &Filter::kind) != filters.end(); }
};

// Whether the output of the line, which may be wrong, is to be a JSON object on standard output.
bool asks_for_json(std::string_view line);

// The command of a line, without its filters.
std::string_view command_of(std::string_view line);

// The name of a file without quotation marks around it. Throws CommandError.
std::string_view file_named(std::string_view argument);

// Throws CommandError.
Line match(std::string_view line);

} // namespace shell
