// What may come next on a line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"

namespace shell {

// One word that may come next.
struct Suggestion {
    std::string word;
    std::string help;
    bool is_value = false;  // of a slot
    bool is_slot = false;   // the name of a slot, such as RANGE, before its values
    bool may_go_on = false; // no blank follows: a folder, or an item of a range
};
struct Suggestions {
    std::string_view partial;      // the word that is being typed; empty after a blank
    std::vector<Suggestion> words; // that begin with it
    bool may_end = false;          // the line is whole without a further word
    bool may_be_filtered = false;  // a bar with a filter may follow
};
// What may come at the end of a line. Empty where no command begins like this.
Suggestions suggest(std::string_view line, const sim::Switch &sw);

// Whether a question mark at the end of a line is a part of it: inside quotation marks, or in a regular expression.
bool takes_question_mark(std::string_view line);

} // namespace shell
