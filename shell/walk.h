// The way of one line through a grammar, word by word.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "shell/grammar.h"
#include "shell/line.h"

namespace shell {

// What follows the type of interfaces as a word of its own.
inline constexpr char kNumberOfInterface[] = "NUMBER[-NUMBER]";

using Nodes = std::vector<const Node *>;

// Whether the argument of a slot may be in quotation marks.
bool may_be_quoted(Slot slot);

class Walk {
  public:
    // The nodes of a first word.
    explicit Walk(std::span<const Node> roots) : roots_(roots) {}

    // The nodes that may come next.
    Nodes next() const;
    // The nodes that a word may mean: one that it matches, or several that it abbreviates.
    Nodes candidates(std::string_view word) const;
    // Take the next word from the front of a line. Empty at its end.
    std::string_view take_word(std::string_view &rest) const;
    // Go on to the node that the word means. False at an unknown or an ambiguous word.
    bool step(std::string_view word);

    // What the next word may be the value of.
    Slot slot_of_next() const;

    // Of the last word.
    const Node *node() const { return node_; }
    const Display *display() const { return display_; }
    FilterKind filter() const { return node_ != nullptr ? node_->filter : FilterKind::kNone; }
    bool may_end() const { return node_ != nullptr && (node_->action != nullptr || filter() != FilterKind::kNone); }
    bool has_text() const { return node_ != nullptr && (line.form != nullptr || node_->own_text != OwnText::kNone); }
    // Whether the last word is the type of interfaces, whose names come as a word of their own.
    bool is_within_interface() const;

    Line line; // what the words say so far

  private:
    void add_narrowings(Nodes &nodes) const;
    void take(std::string_view word);
    std::size_t length_of_word(std::string_view rest) const;

    std::span<const Node> roots_;
    const Node *node_ = nullptr;
    const Display *display_ = nullptr;
};

} // namespace shell
