#include "shell/candidates.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "shell/exit_code.h"
#include "shell/suggest.h"
#include "shell/words.h"
#include "sim/notation.h"
#include "sim/switch.h"

namespace shell {
namespace {

// The name of a slot is no candidate, and a tab or a newline in a name would be taken for the end of the word.
bool is_candidate(const Suggestion &suggestion) {
    return !suggestion.is_slot && sim::printable(suggestion.word) == suggestion.word;
}

// A caller keeps what comes before the last blank or bar of a line, and puts a candidate after it.
bool can_be_replaced(std::string_view partial) {
    return partial.find('|') == std::string_view::npos && std::ranges::none_of(partial, is_blank);
}

int print(const Suggestions &suggestions) {
    if (!can_be_replaced(suggestions.partial)) return kExitComplete;
    std::string list;
    for (const Suggestion &suggestion : suggestions.words)
        if (is_candidate(suggestion))
            list += suggestion.word + (suggestion.may_go_on ? "\t" : " \t") + suggestion.help + '\n';
    std::fputs(list.c_str(), stdout);
    return std::fflush(stdout) == 0 ? kExitComplete : kExitFailure;
}

} // namespace

int print_candidates(Options options) {
    if (!options.completed) return kExitUsage; // the parser did not come as far
    options.no_warnings = true;
    try {
        Session session(options);
        return print(suggest(*options.completed, session.current()));
    } catch (const std::exception &) {
        print(suggest(*options.completed, sim::Switch()));
        return kExitUsage;
    }
}

} // namespace shell
