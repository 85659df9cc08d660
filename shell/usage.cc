// One row for each command of the grammar. The forms of a display are listed once for all displays.
#include "shell/usage.h"

#include <algorithm>

#include "shell/forms.h"
#include "shell/grammar.h"

namespace shell {
namespace {

constexpr std::size_t kMeaningColumn = 32;

std::string row(const std::string &syntax, const std::string &meaning) {
    std::string text = "  " + syntax;
    text.resize(std::max(text.size() + 2, kMeaningColumn), ' ');
    return text + meaning + '\n';
}

// The argument that may or must follow a word, with its blank; empty if there is none.
std::string argument_of(const Node &node) {
    if (node.next.size() != 1 || node.next[0].slot == Slot::kNone) return "";
    const std::string name = std::string(node.next[0].word) + (node.next[0].repeats ? "..." : "");
    return node.action != nullptr ? " [" + name + "]" : " " + name;
}

std::string meaning_of(const Node &node) {
    if (node.is_of_running) return node.help + std::string("; running only");
    if (node.is_of_store) return node.help + std::string("; startup only");
    if (node.form == nullptr || (node.form->running != nullptr && node.form->startup != nullptr)) return node.help;
    return node.help + std::string(node.form->startup == nullptr ? "; running only" : "; startup only");
}

// The rows of a node and of the words below it, up to a display.
std::string rows_of(const Node &node, const std::string &before) {
    if (node.is_hidden) return "";
    const std::string syntax = before + std::string(node.word), argument = argument_of(node);
    if (!argument.empty()) return row(syntax + argument, meaning_of(node));
    std::string rows;
    if (node.action != nullptr || node.filter != FilterKind::kNone) rows = row(syntax, meaning_of(node));
    if (node.display != nullptr) return rows;
    for (const Node &next : node.next)
        rows += rows_of(next, syntax + ' ');
    return rows;
}

// The first display's list of forms, which is that of all.
std::span<const Node> forms_below(std::span<const Node> nodes) {
    for (const Node &node : nodes) {
        if (node.display != nullptr) return node.next;
        if (const auto forms = forms_below(node.next); !forms.empty()) return forms;
    }
    return {};
}

} // namespace

std::string list_of_commands() {
    std::string list = "Commands:\n";
    for (const Node &node : commands())
        list += rows_of(node, "");
    list += "\nForms, after show running-config, show startup-config and checkpoint:\n";
    list += row("(none)", "the whole configuration");
    for (const Node &node : forms_below(commands()))
        list += rows_of(node, "");
    list += "\nAfter most forms of a part of the configuration; ? at the prompt lists what fits:\n";
    for (const Node &node : narrowings())
        list += rows_of(node, "");
    list += "\nFilters, after any of these commands that shows a configuration, also several:\n";
    for (const Node &node : filters())
        list += rows_of(node, "| ");
    return list;
}

} // namespace shell
