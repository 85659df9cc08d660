// Walks the grammar along the words of a line. A word matches a node exactly, or as the only node that begins with it,
// or as the value of a slot.
#include "shell/line.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

#include "shell/ranges.h"
#include "shell/values.h"
#include "sim/notation.h"

namespace shell {
namespace {

using Nodes = std::vector<const Node *>;
using Words = std::vector<std::string_view>;
using sim::quoted;

constexpr char kNumberOfInterface[] = "NUMBER[-NUMBER]";

bool is_blank(unsigned char c) {
    return std::isspace(c) != 0;
}

bool is_hidden_from(std::string_view word, const Node &node) {
    return node.is_hidden && node.word != word;
}

bool takes_rest(Slot slot) {
    return slot == Slot::kRegex;
}

// A path or a regular expression may be in quotation marks.
bool may_be_quoted(Slot slot) {
    return slot == Slot::kRegex || slot == Slot::kFile;
}

bool is_quotation_mark(char c) {
    return c == '"' || c == '\'';
}

// The position after the closing one of two quotation marks, or npos. A backslash protects one of "...".
std::size_t end_of_quotation(std::string_view text, std::size_t begin) {
    for (std::size_t at = begin + 1; at < text.size(); ++at) {
        if (text[at] == text[begin]) return at + 1;
        if (text[at] == '\\' && text[begin] == '"') ++at;
    }
    return std::string_view::npos;
}

std::string_view without_blanks_around(std::string_view text) {
    while (!text.empty() && is_blank(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

// Divides a line at its bars outside of quotation marks: at the first one, wherever it is, and at each further one that
// follows a blank, so that "include a|b" is one filter.
Words parts_of(std::string_view line) {
    Words parts;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const bool follows_blank = at == begin || is_blank(static_cast<unsigned char>(line[at - 1]));
        if (is_quotation_mark(line[at]) && follows_blank) {
            const std::size_t end = end_of_quotation(line, at);
            if (end != std::string_view::npos) at = end - 1;
        } else if (line[at] == '|' && (parts.empty() || follows_blank)) {
            parts.push_back(line.substr(begin, at - begin));
            begin = at + 1;
        }
    }
    parts.push_back(line.substr(begin));
    return parts;
}

// Follows one line through the grammar.
class Walk {
  public:
    // The nodes of a first word.
    explicit Walk(std::span<const Node> roots) : roots_(roots) {}

    // Where the walk is: the nodes that may come next.
    Nodes next() const {
        Nodes nodes;
        if (node_ != nullptr && node_->repeats) nodes.push_back(node_);
        for (const Node &node : node_ != nullptr ? node_->next : roots_)
            if (exists(node, display_)) nodes.push_back(&node);
        if (node_ != nullptr) add_narrowings(nodes);
        return nodes;
    }

    // The nodes that a word may mean: one that it matches, or several that it abbreviates.
    Nodes candidates(std::string_view word) const {
        Nodes abbreviated;
        const Nodes nodes = next();
        for (const Node *node : nodes) {
            if (node->slot == Slot::kNone && node->word == word) return {node};
            if (node->slot == Slot::kNone && !node->is_hidden && node->word.starts_with(word))
                abbreviated.push_back(node);
        }
        if (!abbreviated.empty()) return abbreviated;
        for (const Node *node : nodes)
            if (node->slot != Slot::kNone) return {node};
        return {};
    }

    // Take the next word from the front of a line. Empty at its end.
    std::string_view take_word(std::string_view &rest) const {
        const auto *const begin = std::ranges::find_if_not(rest, is_blank);
        rest = {begin, rest.end()};
        const std::string_view word = rest.substr(0, length_of_word(rest));
        rest.remove_prefix(word.size());
        return word;
    }

    // Go on to the node that the word means. False at an unknown or an ambiguous word.
    bool step(std::string_view word) {
        if (is_within_interface()) {
            line.arguments.push_back(word);
            return true;
        }
        const Nodes nodes = candidates(word);
        if (nodes.size() != 1) return false;
        node_ = nodes[0];
        take(word);
        return true;
    }

    // Whether the last word of a line is the type of interfaces, whose names come as a word of their own.
    bool is_within_interface() const {
        return node_ != nullptr && node_->slot == Slot::kInterfaces && line.arguments.size() == 1 &&
               type_of_interface(line.arguments[0]).size() == line.arguments[0].size();
    }

    const Node *node() const { return node_; }
    bool may_end() const { return node_ != nullptr && (node_->action != nullptr || filter() != FilterKind::kNone); }
    FilterKind filter() const { return node_ != nullptr ? node_->filter : FilterKind::kNone; }
    const Display *display() const { return display_; }
    bool has_text() const { return node_ != nullptr && (line.form != nullptr || node_->own_text != OwnText::kNone); }
    Line line;

  private:
    void add_narrowings(Nodes &nodes) const {
        for (const Node &node : narrowings()) {
            const bool may_follow = node.narrowing == nullptr ? node_->has_services : node_->has_defaults;
            if (may_follow && exists(node, display_)) nodes.push_back(&node);
        }
    }

    void take(std::string_view word) {
        if (node_->display != nullptr) display_ = node_->display;
        if (node_->form != nullptr) line.form = node_->form;
        const bool is_argument = node_->slot != Slot::kNone;
        if (node_->narrowing != nullptr) {
            line.narrowings.push_back({node_->narrowing, is_argument ? word : word.substr(0, 0)});
        } else if (is_argument) {
            line.arguments.push_back(word);
        }
    }

    std::size_t length_of_word(std::string_view rest) const {
        const Nodes nodes = next();
        const Slot slot = nodes.empty() ? Slot::kNone : nodes.front()->slot;
        if (!rest.empty() && may_be_quoted(slot) && is_quotation_mark(rest[0]))
            return std::min(end_of_quotation(rest, 0), without_blanks_around(rest).size());
        if (takes_rest(slot)) return without_blanks_around(rest).size();
        return static_cast<std::size_t>(std::ranges::find_if(rest, is_blank) - rest.begin());
    }

    std::span<const Node> roots_;
    const Node *node_ = nullptr; // of the last word
    const Display *display_ = nullptr;
};

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

} // namespace

std::vector<std::string_view> words_of(std::string_view line) {
    Words words;
    const auto *at = std::find_if_not(line.begin(), line.end(), is_blank);
    while (at != line.end()) {
        const auto *end = std::find_if(at, line.end(), is_blank);
        words.emplace_back(at, end);
        at = std::find_if_not(end, line.end(), is_blank);
    }
    return words;
}

namespace {

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
    if (slot == Slot::kFile) filter.file = value;
    if (slot == Slot::kFile && value.empty()) throw CommandError("the name of the file is missing", argument);
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

// Whether a filter can follow those that the line has.
void check_order(const Filter &filter, std::string_view part, const Line &line) {
    if (line.is_saved()) throw CommandError("no filter can follow \"save\"", with_bar(part));
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

namespace {

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
                                  walk.filter() != FilterKind::kSave;
    for (const Node *node : walk.next()) {
        if (node->slot != Slot::kNone) {
            suggest_values(*node, walk.line.arguments, sw, suggestions);
        } else if (!is_hidden_from(suggestions.partial, *node) && node->word.starts_with(suggestions.partial)) {
            suggestions.words.push_back({.word = std::string(node->word), .help = node->help});
        }
    }
    return suggestions;
}

} // namespace shell
