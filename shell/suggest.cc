#include "shell/suggest.h"

#include <algorithm>
#include <utility>

#include "shell/ranges.h"
#include "shell/values.h"
#include "shell/walk.h"
#include "shell/words.h"

namespace shell {
namespace {

bool is_hidden_from(std::string_view word, const Node &node) {
    return node.is_hidden && node.word != word;
}

bool may_go_on(std::string_view value, Slot slot) {
    const bool is_range = slot == Slot::kVlans || slot == Slot::kVsans || slot == Slot::kInterfaces;
    return value.ends_with('/') || (is_range && continues_range(value));
}

// The slot itself, then its values. A word that was given before is no value once more.
void suggest_values(const Node &node, const Words &given, const sim::Switch &sw, Suggestions &suggestions) {
    suggestions.words.push_back({.word = std::string(node.word), .help = node.help, .is_slot = true});
    for (std::string &value : completions_of(node.slot, suggestions.partial, sw)) {
        if (std::ranges::find(given, value) != given.end()) continue;
        const bool goes_on = may_go_on(value, node.slot);
        suggestions.words.push_back(
            {.word = std::move(value), .help = node.help, .is_value = true, .may_go_on = goes_on});
    }
}

// "ethernet" has been typed: the rest of the names of these interfaces.
void suggest_numbers(const Walk &walk, const sim::Switch &sw, Suggestions &suggestions) {
    const std::string_view type = walk.line.arguments[0];
    const std::string typed = std::string(type) + std::string(suggestions.partial);
    suggestions.words.push_back({.word = kNumberOfInterface, .help = walk.node()->help, .is_slot = true});
    for (const std::string &name :
         suggestions.partial.empty() ? names_of_type(type, sw) : completions_of(Slot::kInterfaces, typed, sw)) {
        suggestions.words.push_back({.word = name.substr(type.size()),
                                     .help = walk.node()->help,
                                     .is_value = true,
                                     .may_go_on = continues_range(name)});
    }
}

} // namespace

Suggestions suggest(std::string_view line, const sim::Switch &sw) {
    Suggestions suggestions;
    const Words parts = parts_of(line);
    Walk walk(parts.size() == 1 ? commands() : filters());
    std::string_view rest = parts.back();
    for (std::string_view word = walk.take_word(rest); !word.empty(); word = walk.take_word(rest)) {
        if (rest.empty()) {
            suggestions.partial = word;
        } else if (!walk.step(word)) {
            return suggestions;
        }
    }
    if (walk.is_within_interface()) {
        suggest_numbers(walk, sw, suggestions);
        return suggestions;
    }
    suggestions.may_end = suggestions.partial.empty() && walk.may_end();
    suggestions.may_be_filtered = suggestions.may_end && (walk.has_text() || walk.filter() != FilterKind::kNone) &&
                                  walk.filter() != FilterKind::kSave && walk.filter() != FilterKind::kHtml;
    for (const Node *node : walk.next()) {
        if (node->slot != Slot::kNone) {
            suggest_values(*node, walk.line.arguments, sw, suggestions);
        } else if (!is_hidden_from(suggestions.partial, *node) && node->word.starts_with(suggestions.partial)) {
            suggestions.words.push_back({.word = std::string(node->word), .help = node->help});
        }
    }
    return suggestions;
}

bool takes_question_mark(std::string_view line) {
    const Words parts = parts_of(line);
    Walk walk(parts.size() == 1 ? commands() : filters());
    std::string_view rest = parts.back();
    for (std::string_view word = walk.take_word(rest); !word.empty(); word = walk.take_word(rest)) {
        const Slot slot = walk.slot_of_next();
        const bool is_quoted = may_be_quoted(slot) && is_quotation_mark(word[0]);
        if (is_quoted && end_of_quotation(word, 0) == std::string_view::npos) return true;
        if (slot == Slot::kRegex && !is_quoted) return true;
        if (!walk.step(word)) return false;
    }
    return false;
}

} // namespace shell
