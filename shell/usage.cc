// One usage for each command of the grammar. The forms of a display are listed once for all displays.
#include "shell/usage.h"

#include <algorithm>

#include "shell/forms.h"
#include "shell/grammar.h"

namespace shell {
namespace {

constexpr std::size_t kMeaningColumn = 32;

std::string row(const std::string &before, const Usage &usage) {
    std::string text = "  " + before + usage.words;
    if (!usage.argument.empty()) text += usage.is_optional ? " [" + usage.argument + "]" : " " + usage.argument;
    text.resize(std::max(text.size() + 2, kMeaningColumn), ' ');
    return text + usage.meaning + '\n';
}

std::string rows(const std::vector<Usage> &usages, const std::string &before = "") {
    std::string text;
    for (const Usage &usage : usages)
        text += row(before, usage);
    return text;
}

// The arguments that may or must follow a word; empty if there are none.
std::string argument_of(const Node &node) {
    if (node.next.size() != 1 || node.next[0].slot == Slot::kNone) return "";
    const Node &argument = node.next[0];
    const std::string word = std::string(argument.word) + (argument.repeats ? "..." : "");
    const std::string further = argument.action == nullptr ? argument_of(argument) : "";
    return further.empty() ? word : word + ' ' + further;
}

// Of which configuration it is a display; empty if of both.
const char *only_of(const Node &node) {
    if (node.is_of_running) return "; running only";
    if (node.is_of_store) return "; startup only";
    if (node.form == nullptr || (node.form->running != nullptr && node.form->startup != nullptr)) return "";
    return node.form->startup == nullptr ? "; running only" : "; startup only";
}

std::string meaning_of(const Node &node) {
    return std::string(node.help).append(only_of(node));
}

Usage usage_of(const Node &node, const std::string &before) {
    if (node.slot != Slot::kNone) return {.words = before, .argument = std::string(node.word), .meaning = node.help};
    return {.words = before.empty() ? std::string(node.word) : before + ' ' + std::string(node.word),
            .argument = argument_of(node),
            .is_optional = node.action != nullptr,
            .meaning = meaning_of(node)};
}

// Add the usages of a node and of the words below it, up to a display.
void add_usages(const Node &node, const std::string &before, std::vector<Usage> &usages) {
    if (node.is_hidden) return;
    const Usage usage = usage_of(node, before);
    const bool has_argument = !usage.argument.empty();
    if (has_argument || node.action != nullptr || node.filter != FilterKind::kNone) usages.push_back(usage);
    if (has_argument || node.display != nullptr) return;
    for (const Node &next : node.next)
        add_usages(next, usage.words, usages);
}

std::vector<Usage> usages_of(std::span<const Node> nodes) {
    std::vector<Usage> usages;
    for (const Node &node : nodes)
        add_usages(node, "", usages);
    return usages;
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

std::vector<Usage> usages_of_commands() {
    return usages_of(commands());
}

std::vector<Usage> usages_of_forms() {
    std::vector<Usage> usages = usages_of(forms_below(commands()));
    usages.insert(usages.begin(), Usage{.words = "(none)", .argument = "", .meaning = "the whole configuration"});
    return usages;
}

std::vector<Usage> usages_of_narrowings() {
    return usages_of(narrowings());
}

std::vector<Usage> usages_of_filters() {
    return usages_of(filters());
}

std::string list_of_commands() {
    return "Commands:\n" + rows(usages_of_commands()) +
           "\nForms, after show running-config, show startup-config and checkpoint:\n" + rows(usages_of_forms()) +
           "\nAfter most forms of a part of the configuration; ? at the prompt lists what fits:\n" +
           rows(usages_of_narrowings()) + "\nFilters, after any of these commands that shows a text, also several:\n" +
           rows(usages_of_filters(), "| ");
}

} // namespace shell
