#include "shell/completion.h"

#include <algorithm>
#include <vector>

#include "sim/visible.h"

namespace shell {
namespace {

constexpr std::size_t kHelpColumn = 20, kMostListed = 240;

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

std::string padded(std::string text, std::size_t width) {
    const std::size_t taken = sim::columns_of(text);
    return text.append(taken < width ? width - taken : 0, ' ');
}

// The longest common beginning, in whole characters.
std::string_view common_beginning(std::string_view a, std::string_view b) {
    std::size_t size = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
    while (size > 0 && size < a.size() && is_continuation(a[size]))
        --size;
    return a.substr(0, size);
}

// Of a list, the item that would be added.
std::string shown(const Suggestion &suggestion) {
    const std::string &word = suggestion.word;
    return sim::visible(suggestion.may_go_on ? word.substr(word.rfind(',') + 1) : word);
}

std::string in_columns(const std::vector<std::string> &words, std::string_view indent, uint32_t width) {
    const std::size_t count = std::min(words.size(), kMostListed);
    std::size_t widest = 0;
    for (std::size_t i = 0; i < count; ++i)
        widest = std::max(widest, sim::columns_of(words[i]) + 2);
    const std::size_t room = width > indent.size() ? width - indent.size() : 1;
    const std::size_t across = std::max<std::size_t>((room + 1) / std::max<std::size_t>(widest, 1), 1);
    const std::size_t rows = (count + across - 1) / across;
    std::string list;
    for (std::size_t row = 0; row < rows; ++row) {
        list += indent;
        for (std::size_t at = row; at < count; at += rows)
            list += at + rows < count ? padded(words[at], widest) : words[at];
        list += '\n';
    }
    if (count < words.size()) list += std::string(indent) + "and " + std::to_string(words.size() - count) + " more\n";
    return list;
}

std::vector<std::string> shown_words(const Suggestions &suggestions, bool only_values) {
    std::vector<std::string> words;
    for (const Suggestion &suggestion : suggestions.words)
        if (!suggestion.is_slot && (suggestion.is_value || !only_values)) words.push_back(shown(suggestion));
    return words;
}

std::string help_row(std::string_view word, std::string_view help) {
    return "  " + padded(std::string(word), kHelpColumn - 3) + ' ' + std::string(help) + '\n';
}

} // namespace

Completion complete(const Suggestions &suggestions) {
    Completion completion;
    const Suggestion *first = nullptr;
    std::size_t count = 0;
    std::string_view common;
    for (const Suggestion &suggestion : suggestions.words) {
        if (suggestion.is_slot) continue;
        common = count++ == 0 ? std::string_view(suggestion.word) : common_beginning(common, suggestion.word);
        if (first == nullptr) first = &suggestion;
    }
    if (first == nullptr) return completion;
    completion.rest = common.substr(std::min(suggestions.partial.size(), common.size()));
    if (sim::has_control(completion.rest)) return {}; // which no key types
    completion.is_whole = count == 1 && !first->may_go_on;
    return completion;
}

std::string list_of_words(const Suggestions &suggestions, uint32_t width) {
    return in_columns(shown_words(suggestions, false), "", width);
}

std::string list_with_help(const Suggestions &suggestions, uint32_t width) {
    std::string list;
    for (const Suggestion &suggestion : suggestions.words)
        if (!suggestion.is_value) list += help_row(sim::visible(suggestion.word), suggestion.help);
    list += in_columns(shown_words(suggestions, true), "    ", width);
    if (suggestions.may_end) list += help_row("<cr>", "run the command");
    if (suggestions.may_be_filtered) list += help_row("|", "filter the text");
    return list.empty() ? "  no command begins like this\n" : list;
}

} // namespace shell
