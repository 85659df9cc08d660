#include "shell/walk.h"

#include <algorithm>

#include "shell/values.h"
#include "shell/words.h"

namespace shell {
namespace {

// The argument is the rest of the line.
bool takes_rest(Slot slot) {
    return slot == Slot::kRegex;
}

} // namespace

bool may_be_quoted(Slot slot) {
    return slot == Slot::kRegex || slot == Slot::kFile || slot == Slot::kConfiguration;
}

Nodes Walk::next() const {
    Nodes nodes;
    if (node_ != nullptr && node_->repeats) nodes.push_back(node_);
    for (const Node &node : node_ != nullptr ? node_->next : roots_)
        if (exists(node, display_)) nodes.push_back(&node);
    if (node_ != nullptr) add_narrowings(nodes);
    return nodes;
}

Nodes Walk::candidates(std::string_view word) const {
    Nodes abbreviated;
    const Nodes nodes = next();
    for (const Node *node : nodes) {
        if (node->slot == Slot::kNone && node->word == word) return {node};
        if (node->slot == Slot::kNone && !node->is_hidden && node->word.starts_with(word)) abbreviated.push_back(node);
    }
    if (!abbreviated.empty()) return abbreviated;
    for (const Node *node : nodes)
        if (node->slot != Slot::kNone) return {node};
    return {};
}

Slot Walk::slot_of_next() const {
    const Nodes nodes = next();
    const auto found = std::ranges::find_if(nodes, [](const Node *node) { return node->slot != Slot::kNone; });
    return found != nodes.end() ? (*found)->slot : Slot::kNone;
}

std::string_view Walk::take_word(std::string_view &rest) const {
    const auto *const begin = std::ranges::find_if_not(rest, is_blank);
    rest = {begin, rest.end()};
    const std::string_view word = rest.substr(0, length_of_word(rest));
    rest.remove_prefix(word.size());
    return word;
}

bool Walk::step(std::string_view word) {
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

bool Walk::is_within_interface() const {
    return node_ != nullptr && node_->slot == Slot::kInterfaces && line.arguments.size() == 1 &&
           type_of_interface(line.arguments[0]).size() == line.arguments[0].size();
}

void Walk::add_narrowings(Nodes &nodes) const {
    for (const Node &node : narrowings()) {
        const bool may_follow = node.narrowing == nullptr ? node_->has_services : node_->has_defaults;
        if (may_follow && exists(node, display_)) nodes.push_back(&node);
    }
}

void Walk::take(std::string_view word) {
    if (node_->is_explanation) line.is_explained = true;
    if (node_->display != nullptr) display_ = node_->display;
    if (node_->form != nullptr) line.form = node_->form;
    const bool is_argument = node_->slot != Slot::kNone;
    if (node_->narrowing != nullptr) {
        line.narrowings.push_back({node_->narrowing, is_argument ? word : word.substr(0, 0)});
    } else if (is_argument) {
        line.arguments.push_back(word);
    }
}

std::size_t Walk::length_of_word(std::string_view rest) const {
    const Slot slot = slot_of_next();
    if (!rest.empty() && may_be_quoted(slot) && is_quotation_mark(rest[0]))
        return std::min(end_of_quotation(rest, 0), without_blanks_around(rest).size());
    if (takes_rest(slot)) return without_blanks_around(rest).size();
    return static_cast<std::size_t>(std::ranges::find_if(rest, is_blank) - rest.begin());
}

} // namespace shell
