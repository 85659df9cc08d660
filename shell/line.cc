// Walks the grammar along the words of a line. A word matches a node exactly, or as the only node that begins with it,
// or as the value of a slot.
#include "shell/line.h"

#include <algorithm>
#include <cctype>

#include "shell/values.h"
#include "sim/notation.h"

namespace shell {
namespace {

using Nodes = std::vector<const Node *>;
using Words = std::vector<std::string_view>;
using sim::quoted;

bool is_blank(unsigned char c) {
    return std::isspace(c) != 0;
}

bool is_hidden_from(std::string_view word, const Node &node) {
    return node.is_hidden && node.word != word;
}

// Follows one line through the grammar.
class Walk {
  public:
    // Where the walk is: the nodes that may come next.
    Nodes next() const {
        Nodes nodes;
        if (node_ != nullptr && node_->repeats) nodes.push_back(node_);
        for (const Node &node : node_ != nullptr ? node_->next : commands())
            if (exists(node, display_)) nodes.push_back(&node);
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

    // Go on to the node that the word means. False at an unknown or an ambiguous word.
    bool step(std::string_view word) {
        if (is_second_of_interface(word)) {
            line.arguments.push_back(word);
            return true;
        }
        const Nodes nodes = candidates(word);
        if (nodes.size() != 1) return false;
        node_ = nodes[0];
        if (node_->display != nullptr) display_ = node_->display;
        if (node_->slot != Slot::kNone) line.arguments.push_back(word);
        return true;
    }

    // Whether the last word of a line is the type of interfaces, whose names come as a word of their own.
    bool is_within_interface() const {
        return node_ != nullptr && node_->slot == Slot::kInterfaces && line.arguments.size() == 1 &&
               type_of_interface(line.arguments[0]).size() == line.arguments[0].size();
    }

    const Node *node() const { return node_; }
    const Display *display() const { return display_; }
    Line line;

  private:
    bool is_second_of_interface(std::string_view) const { return is_within_interface(); }

    const Node *node_ = nullptr; // of the last word
    const Display *display_ = nullptr;
};

std::vector<std::string> words_of_nodes(const Nodes &nodes) {
    std::vector<std::string> words;
    for (const Node *node : nodes)
        if (!node->is_hidden) words.emplace_back(node->word);
    return words;
}

[[noreturn]] void refuse(const Walk &walk, std::string_view word) {
    const Nodes meant = walk.candidates(word);
    if (meant.size() > 1) throw CommandError("ambiguous word " + quoted(word), word, words_of_nodes(meant));
    const Nodes nodes = walk.next();
    const char *const what = walk.node() == nullptr ? "unknown command "
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

Line match(std::string_view line) {
    Walk walk;
    const char *done = line.data();
    for (const std::string_view word : words_of(line)) {
        if (!walk.step(word)) refuse(walk, word);
        append_in_full(walk.line.text, {done, word.data()}, word, *walk.node());
        done = word.data() + word.size();
    }
    walk.line.text.append(done, line.data() + line.size());
    const std::string_view end = line.substr(static_cast<std::size_t>(done - line.data()), 0);
    if (walk.is_within_interface())
        throw CommandError("the number of the interface is missing", end, {"NUMBER[-NUMBER]"});
    if (walk.node() == nullptr || walk.node()->action == nullptr)
        throw CommandError("the command is not finished", end, words_of_nodes(walk.next()));
    walk.line.action = walk.node()->action;
    walk.line.form = walk.node()->form;
    walk.line.display = walk.display();
    return walk.line;
}

namespace {

void suggest_values(const Node &node, std::string_view partial, const sim::Switch &sw, Suggestions &suggestions) {
    std::vector<std::string> values = completions_of(node.slot, partial, sw);
    if (values.empty() && partial.empty()) suggestions.words.push_back({std::string(node.word), node.help, false});
    for (std::string &value : values)
        suggestions.words.push_back({std::move(value), node.help, true});
}

// "ethernet" has been typed: the rest of the names of these interfaces.
void suggest_numbers(const Walk &walk, const sim::Switch &sw, Suggestions &suggestions) {
    const std::string type(walk.line.arguments[0]);
    for (std::string &name : completions_of(Slot::kInterfaces, type + std::string(suggestions.partial), sw))
        if (name.size() > type.size())
            suggestions.words.push_back({name.substr(type_of_interface(name).size()), walk.node()->help, true});
}

} // namespace

Suggestions suggest(std::string_view line, const sim::Switch &sw) {
    Suggestions suggestions;
    Words words = words_of(line);
    if (!words.empty() && !is_blank(static_cast<unsigned char>(line.back()))) {
        suggestions.partial = words.back();
        words.pop_back();
    }
    Walk walk;
    for (const std::string_view word : words)
        if (!walk.step(word)) return suggestions;
    if (walk.is_within_interface()) {
        suggest_numbers(walk, sw, suggestions);
        return suggestions;
    }
    suggestions.may_end = suggestions.partial.empty() && walk.node() != nullptr && walk.node()->action != nullptr;
    for (const Node *node : walk.next()) {
        if (node->slot != Slot::kNone) {
            suggest_values(*node, suggestions.partial, sw, suggestions);
        } else if (!is_hidden_from(suggestions.partial, *node) && node->word.starts_with(suggestions.partial)) {
            suggestions.words.push_back({std::string(node->word), node->help, false});
        }
    }
    return suggestions;
}

} // namespace shell
