// The command of a recording as lines, each with a name and a value.
#include <charconv>
#include <string>

#include "explain/recording/recording.h"

namespace explain::recording {
namespace {

struct Field {
    const char *name;
    std::string (*get)(const Command &);
    void (*set)(Command &, std::string_view);
};

uint32_t number_in(std::string_view text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Error("its command has the wrong number " + std::string(text.substr(0, 20)));
    return number;
}

template <auto kMember>
Field text_field(const char *name) {
    return {name, [](const Command &command) { return command.*kMember; },
            [](Command &command, std::string_view value) { command.*kMember = value; }};
}

template <auto kMember>
Field flag_field(const char *name) {
    return {name, [](const Command &command) { return std::to_string(command.*kMember ? 1 : 0); },
            [](Command &command, std::string_view value) { command.*kMember = number_in(value) != 0; }};
}

template <auto kMember>
Field option_field(const char *name) {
    return {name, [](const Command &command) { return std::to_string(command.options.*kMember); },
            [](Command &command, std::string_view value) { command.options.*kMember = number_in(value); }};
}

const Field kFields[] = {
    text_field<&Command::line>("line"),
    text_field<&Command::display>("display"),
    flag_field<&Command::has_header>("header"),
    option_field<&sim::ShellOptions::filter_mode>("filter-mode"),
    option_field<&sim::ShellOptions::script_mode>("script-mode"),
    option_field<&sim::ShellOptions::generic_option>("generic-option"),
    {"debug", [](const Command &command) { return std::to_string(command.debug_mask); },
     [](Command &command, std::string_view value) { command.debug_mask = number_in(value); }},
    flag_field<&Command::hides_secrets>("hides-secrets"),
    flag_field<&Command::has_unknown_interfaces>("unknown-interfaces"),
    flag_field<&Command::is_masked>("masked"),
};

} // namespace

std::string text_of(const Command &command) {
    std::string text;
    for (const Field &field : kFields)
        text.append(field.name).append(" ").append(field.get(command)).append("\n");
    return text;
}

Command command_in(std::string_view text) {
    Command command;
    for (const Field &field : kFields) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const std::string name = std::string(field.name) + ' ';
        if (!line.starts_with(name) || line.size() == text.size())
            throw Error("its command has no " + std::string(field.name));
        field.set(command, line.substr(name.size()));
        text.remove_prefix(line.size() + 1);
    }
    if (!text.empty()) throw Error("its command has more than this shell knows");
    return command;
}

} // namespace explain::recording
