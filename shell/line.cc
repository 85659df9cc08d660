// Walks the grammar along the words of a line. A word matches a node exactly, or as the only node that begins with it,
// or as the value of a slot.
#include "shell/line.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

#include "shell/walk.h"
#include "sim/notation.h"

namespace shell {
namespace {

using sim::quoted;

std::vector<std::string> words_of_nodes(const Nodes &nodes) {
    std::vector<std::string> words;
    for (const Node *node : nodes)
        if (!node->is_hidden) words.emplace_back(node->word);
    return words;
}

[[noreturn]] void refuse(const Walk &walk, std::string_view word, const char *unknown_first) {
    const Nodes meant = walk.candidates(word);
    if (meant.size() > 1) throw CommandError("ambiguous word " + quoted(word), word, words_of_nodes(meant));
    const Nodes nodes = walk.next();
    const char *const what = walk.node() == nullptr ? unknown_first
                             : nodes.empty()        ? "unexpected word "
                                                    : "unknown word ";
    throw CommandError(what + quoted(word), word, words_of_nodes(nodes));
}

// The line with this word in full; what is between the words stays.
void append_in_full(std::string &text, std::string_view between, std::string_view word, const Node &node) {
    text.append(between).append(node.slot == Slot::kNone ? node.word : word);
}

Line match_command(std::string_view line) {
    Walk walk(commands());
    const char *done = line.data();
    std::string_view rest = line;
    for (std::string_view word = walk.take_word(rest); !word.empty(); word = walk.take_word(rest)) {
        if (!walk.step(word)) refuse(walk, word, "unknown command ");
        append_in_full(walk.line.text, {done, word.data()}, word, *walk.node());
        done = word.data() + word.size();
    }
    walk.line.text.append(done, line.data() + line.size());
    const std::string_view end = line.substr(static_cast<std::size_t>(done - line.data()), 0);
    if (walk.is_within_interface())
        throw CommandError("the number of the interface is missing", end, {kNumberOfInterface});
    if (walk.node() == nullptr || walk.node()->action == nullptr)
        throw CommandError("the command is not finished", end, words_of_nodes(walk.next()));
    walk.line.action = walk.node()->action;
    walk.line.display = walk.display();
    walk.line.has_text = walk.has_text();
    walk.line.own_text = walk.node()->own_text;
    return walk.line;
}

std::string_view without_quotation_marks(std::string_view argument) {
    if (argument.empty() || !is_quotation_mark(argument[0])) return argument;
    if (end_of_quotation(argument, 0) != argument.size())
        throw CommandError("the quotation mark is not closed", argument.substr(0, 1));
    return argument.substr(1, argument.size() - 2);
}

void take_argument(std::string_view argument, Slot slot, Filter &filter) try {
    const std::string_view value = may_be_quoted(slot) ? without_quotation_marks(argument) : argument;
    if (slot == Slot::kRegex) filter.pattern = std::make_shared<Pattern>(value);
    if (slot == Slot::kFile) filter.file = file_named(argument);
    if (slot != Slot::kNumber) return;
    const std::optional<uint32_t> number = sim::is_number(value) ? sim::to_number(value) : std::nullopt;
    if (!number) throw CommandError("needs a number of lines, not " + quoted(value), argument);
    filter.count = *number;
} catch (const std::invalid_argument &error) {
    throw CommandError(std::string("wrong regular expression: ") + error.what(), argument);
}

Filter match_filter(std::string_view part) {
    Walk walk(filters());
    std::string_view rest = part, last = part.substr(0, 0);
    for (std::string_view word = walk.take_word(rest); !word.empty(); word = walk.take_word(rest)) {
        if (!walk.step(word)) refuse(walk, word, "unknown filter ");
        last = word;
    }
    const std::string_view end(last.data() + last.size(), 0);
    if (walk.node() == nullptr || walk.node()->filter == FilterKind::kNone)
        throw CommandError("the filter is not finished", end, words_of_nodes(walk.next()));
    Filter filter;
    filter.kind = walk.node()->filter;
    take_argument(last, walk.node()->slot, filter);
    return filter;
}

// The part of the line from this part on, which begins with its bar.
std::string_view with_bar(std::string_view part) {
    return {part.data() - 1, part.size() + 1};
}

bool concerns_lines(const Filter &filter) {
    return filter.kind != FilterKind::kJson && filter.kind != FilterKind::kNoMore && filter.kind != FilterKind::kSave;
}

void check_page(std::string_view part, const Line &line) {
    if (!line.is_explained || line.own_text != OwnText::kNone)
        throw CommandError("\"html\" needs \"explain running-config\" or \"explain startup-config\"", with_bar(part));
    if (!line.filters.empty())
        throw CommandError("\"html\" takes the whole display, so no other filter can come before it", with_bar(part));
}

// Whether a filter can follow those that the line has.
void check_order(const Filter &filter, std::string_view part, const Line &line) {
    if (line.is_saved()) throw CommandError("no filter can follow \"save\"", with_bar(part));
    if (line.is_page()) throw CommandError("no filter can follow \"html\"", with_bar(part));
    if (filter.kind == FilterKind::kHtml) check_page(part, line);
    if (line.is_json() && (concerns_lines(filter) || filter.kind == FilterKind::kJson))
        throw CommandError("only \"no-more\" and \"save\" can follow \"json\"", with_bar(part));
    if (filter.kind == FilterKind::kJson && line.own_text == OwnText::kTable &&
        std::ranges::any_of(line.filters, concerns_lines))
        throw CommandError("\"json\" takes the whole table, so no other filter can come before it", with_bar(part));
}

void match_filters(std::span<const std::string_view> parts, Line &line) {
    if (parts.empty()) return;
    if (!line.has_text) throw CommandError("only a command that shows a text can have filters", with_bar(parts[0]));
    line.text = without_blanks_around(line.text);
    for (const std::string_view part : parts) {
        const Filter filter = match_filter(part);
        check_order(filter, part, line);
        line.filters.push_back(filter);
    }
}

} // namespace

std::string_view file_named(std::string_view argument) {
    const std::string_view name = without_quotation_marks(argument);
    if (name.empty()) throw CommandError("the name of the file is missing", argument);
    return name;
}

std::string_view command_of(std::string_view line) {
    return without_blanks_around(parts_of(line)[0]);
}

bool asks_for_json(std::string_view line) {
    bool is_json = false;
    const Words parts = parts_of(line);
    for (std::string_view part : std::span(parts).subspan(1)) {
        Walk walk(filters());
        const std::string_view word = walk.take_word(part);
        if (word.empty() || !walk.step(word)) continue;
        is_json = is_json || walk.filter() == FilterKind::kJson;
        if (walk.node()->word == "save") return false;
    }
    return is_json;
}

Line match(std::string_view line) {
    const Words parts = parts_of(line);
    Line matched = match_command(parts[0]);
    match_filters(std::span(parts).subspan(1), matched);
    return matched;
}

} // namespace shell
