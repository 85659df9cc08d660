#include "shell/documents/manual.h"

#include <cctype>
#include <string_view>

#include "shell/line.h"

namespace shell {
namespace {

constexpr std::size_t kWidth = 78; // of a source line; mandoc complains of more than 80

// Typesetting would turn these characters into others, which cannot be typed.
std::string character(char c) {
    switch (c) {
        case '\\':
            return "\\e";
        case '-':
            return "\\-";
        case '\'':
            return "\\(aq";
        case '^':
            return "\\(ha";
        case '`':
            return "\\(ga";
        case '~':
            return "\\(ti";
        default:
            return {c};
    }
}

// A word that is a request neither at the start of a line nor after a macro.
std::string word_of_text(std::string_view word) {
    std::string text = word.starts_with('.') ? "\\&" : "";
    for (const char c : word)
        text += character(c);
    return text;
}

// Each sentence begins a line, so that the formatter knows where it ends.
std::string lines_of_text(std::string_view text) {
    std::string lines, line;
    for (const std::string_view word : words_of(text)) {
        const std::string next = word_of_text(word);
        if (line.ends_with('.') || line.size() + 1 + next.size() > kWidth) {
            lines += line + '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + next;
    }
    return lines + line + '\n';
}

std::string sentence(std::string text) {
    if (text.empty()) return text;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return lines_of_text(text + '.');
}

// "-c" is "Fl c", and "--command" is "Fl \-command".
std::string macro_of(const std::string &option) {
    return "Fl " + word_of_text(option.substr(1));
}

std::string macros_of(const std::vector<std::string> &options) {
    std::string macros;
    for (const std::string &option : options)
        macros += (macros.empty() ? "" : " , ") + macro_of(option);
    return macros;
}

std::string argument_of(const OptionUsage &option) {
    return option.argument.empty() ? "" : " Ar " + word_of_text(option.argument);
}

std::string relation(const char *what, const std::vector<std::string> &options) {
    return options.empty() ? "" : what + ("\n." + macros_of(options)) + " .\n";
}

std::string item(const OptionUsage &option) {
    return ".It " + macros_of(option.names) + argument_of(option) + '\n' + sentence(option.meaning) +
           relation("Only with", option.needs) + relation("Not with", option.excludes) +
           (option.may_repeat ? "May be given several times.\n" : "");
}

std::string item_of_variable(const OptionUsage &option) {
    const std::string name = macro_of(option.names.back());
    const std::string same = option.argument.empty() ? "If it is\n.Cm true ,\nthe same as\n." + name + " .\n"
                                                     : "The argument of\n." + name + " ,\nif that is not given.\n";
    return ".It Ev " + option.variable + '\n' + same;
}

std::string item(const Usage &usage) {
    std::string head = ".It Ic";
    for (const std::string_view word : words_of(usage.words))
        head += ' ' + word_of_text(word);
    if (usage.is_optional && !usage.argument.empty()) head += " Op";
    if (!usage.argument.empty()) head += " Ar " + word_of_text(usage.argument);
    return head + '\n' + sentence(usage.meaning);
}

} // namespace

std::string options_of_manual(const std::vector<OptionUsage> &options) {
    std::string items;
    for (const OptionUsage &option : options)
        items += item(option);
    return items;
}

std::string variables_of_manual(const std::vector<OptionUsage> &options) {
    std::string items;
    for (const OptionUsage &option : options)
        if (!option.variable.empty()) items += item_of_variable(option);
    return items;
}

std::string usages_of_manual(const std::vector<Usage> &usages) {
    std::string items;
    for (const Usage &usage : usages)
        items += item(usage);
    return items;
}

} // namespace shell
