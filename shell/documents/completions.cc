// The name of an argument decides what completes it. Strings are in single quotes, which protect everything else.
#include "shell/documents/completions.h"

#include <CLI/StringTools.hpp>

#include <string_view>

namespace shell {
namespace {

// What completes an argument in one of the shells.
struct Actions {
    const char *command, *file, *folder;
};
constexpr Actions kBash = {"_vsh_command", "_vsh_files", "_vsh_folders"};
constexpr Actions kZsh = {"_vsh_command", "_files", "_files -/"};
constexpr Actions kFish = {"-x -a '(__vsh_command)'", "-r -F", "-x -a '(__fish_complete_directories)'"};

// Empty for an argument that only the user knows.
std::string action_for(const OptionUsage &option, const Actions &actions) {
    if (option.argument == "COMMAND") return actions.command;
    if (option.argument == "FILE") return actions.file;
    if (option.argument == "DIR") return actions.folder;
    return "";
}

// `text` with a backslash before each of these characters.
std::string protect(std::string_view text, std::string_view characters) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos) result += '\\';
        result += c;
    }
    return result;
}

// In single quotes, for bash and zsh.
std::string in_quotes(std::string_view text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? "'\\''" : std::string(1, c);
    return result + '\'';
}

bool is_long(const std::string &name) {
    return name.starts_with("--");
}

std::string case_for_bash(const OptionUsage &option) {
    std::string action = action_for(option, kBash);
    if (!option.words.empty()) action = "_vsh_words " + in_quotes(CLI::detail::join(option.words, " "));
    return "    " + CLI::detail::join(option.names, " | ") + ") " + (action.empty() ? ":" : action) + " ;;\n";
}

// The options that are not offered after this one: its other names and what it excludes.
std::string exclusion_for_zsh(const OptionUsage &option) {
    std::vector<std::string> names = option.excludes;
    if (!option.may_repeat) names.insert(names.begin(), option.names.begin(), option.names.end());
    return names.empty() ? "" : '(' + CLI::detail::join(names, " ") + ')';
}

std::string argument_for_zsh(const OptionUsage &option) {
    if (option.argument.empty()) return "";
    const std::string words = option.words.empty() ? "" : '(' + CLI::detail::join(option.words, " ") + ')';
    const std::string action = words.empty() ? action_for(option, kZsh) : words;
    return ':' + option.argument + ':' + (action.empty() ? " " : action);
}

// The argument of -c may follow without a blank, that of --command after an equals sign.
std::string option_for_zsh(const OptionUsage &option, const std::string &name) {
    const char *const joint = option.argument.empty() ? "" : is_long(name) ? "=" : "+";
    const std::string before = (option.may_repeat ? "*" : "") + name + joint;
    return "    " +
           in_quotes(exclusion_for_zsh(option) + before + '[' + protect(option.meaning, "\\[]:") + ']' +
                     argument_for_zsh(option)) +
           '\n';
}

std::string option_for_fish(const OptionUsage &option) {
    std::string command = "complete -c vsh";
    for (const std::string &name : option.names)
        command += is_long(name) ? " -l " + name.substr(2) : " -s " + name.substr(1);
    const auto quoted = [](const std::string &text) { return '\'' + protect(text, "\\'") + '\''; };
    std::string action = option.argument.empty() ? "" : " -x";
    if (const std::string known = action_for(option, kFish); !known.empty()) action = ' ' + known;
    if (!option.words.empty()) action = " -x -a " + quoted(CLI::detail::join(option.words, " "));
    return command + action + " -d " + quoted(option.meaning) + '\n';
}

} // namespace

std::string names_for_bash(const std::vector<OptionUsage> &options) {
    std::string names;
    for (const OptionUsage &option : options)
        names += "    " + CLI::detail::join(option.names, " ") + '\n';
    return names;
}

std::string arguments_for_bash(const std::vector<OptionUsage> &options) {
    std::string cases;
    for (const OptionUsage &option : options)
        if (!option.argument.empty()) cases += case_for_bash(option);
    return cases;
}

std::string options_for_zsh(const std::vector<OptionUsage> &options) {
    std::string lines;
    for (const OptionUsage &option : options)
        for (const std::string &name : option.names)
            lines += option_for_zsh(option, name);
    return lines;
}

std::string options_for_fish(const std::vector<OptionUsage> &options) {
    std::string commands;
    for (const OptionUsage &option : options)
        commands += option_for_fish(option);
    return commands;
}

} // namespace shell
