// The grammar of the shell. A display consists of a command and a form. The row of a command gives the configuration
// that it shows. The row of a form gives its word, the entry point for each configuration, and the parser of its
// arguments.
#include "shell/command.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "sim/notation.h"

namespace shell {
namespace {

constexpr uint32_t kLastId = 4095; // of VLANs and VSANs: the last bit of a qarn_id_mask

using Words = std::vector<std::string_view>;
using sim::quoted;

std::string_view only_word(const Words &words, const char *what) {
    if (words.empty()) throw CommandError(std::string("missing ") + what);
    if (words.size() > 1) throw CommandError("unexpected word " + quoted(words[1]));
    return words[0];
}

// Call a parser of sim/notation.h and turn its error into that of the command.
template <typename Function>
auto parse_notation(Function function) {
    try {
        return function();
    } catch (const std::invalid_argument &error) {
        throw CommandError(error.what());
    }
}

const sim::Service &service_named(std::string_view name, const sim::Switch &sw) {
    const auto service = std::find_if(sw.services.begin(), sw.services.end(),
                                      [name](const sim::Service &candidate) { return candidate.name == name; });
    if (service == sw.services.end()) throw CommandError("unknown service " + quoted(name));
    return *service;
}

void no_arguments(const Words &words, const sim::Switch &, Request &) {
    if (!words.empty()) throw CommandError("unexpected word " + quoted(words[0]));
}

void id_ranges(std::string_view text, const char *what, Request &request) {
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (const sim::IdRange &range : parse_notation([&] { return sim::parse_id_ranges(text, what, 0, kLastId); }))
        pairs.emplace_back(range.low, range.high);
    request.add_ranges(pairs);
}

// Without a range the display shows every VLAN.
void vlan_ranges(const Words &words, const sim::Switch &, Request &request) {
    if (!words.empty()) id_ranges(only_word(words, "VLAN range"), "VLAN", request);
}

void vsan_ranges(const Words &words, const sim::Switch &, Request &request) {
    if (!words.empty()) id_ranges(only_word(words, "VSAN range"), "VSAN", request);
}

// "ethernet 1/1-4" and "ethernet1/1-4" name the same interfaces.
void interfaces(const Words &words, const sim::Switch &sw, Request &request) {
    if (words.empty()) throw CommandError("missing interface name");
    if (words.size() > 2) throw CommandError("unexpected word " + quoted(words[2]));
    std::string names(words[0]);
    if (words.size() == 2) names += words[1];
    std::vector<std::pair<uint32_t, uint32_t>> indexes;
    for (const std::string &name : parse_notation([&] { return sim::expand_names(names); })) {
        const sim::Interface *interface = sw.find_interface(std::string_view(name));
        if (!interface) throw CommandError("unknown interface " + quoted(name));
        indexes.emplace_back(interface->index, interface->index);
    }
    request.add_ranges(indexes, QARN_TOKEN_TYPE_INTERFACE);
}

void port_profile(const Words &words, const sim::Switch &sw, Request &request) {
    const std::string name(only_word(words, "port profile"));
    if (!sw.port_profiles.contains(name)) throw CommandError("unknown port profile " + quoted(name));
    request.add_name(name);
}

void one_service(const Words &words, const sim::Switch &sw, Request &request) {
    request.add_sap(service_named(only_word(words, "service name"), sw).sap);
}

// The library subtracts the number of exclusions from the number of answers that it awaits, so each must name a service
// that it would have asked, and no service twice.
void excluded_services(const Words &words, const sim::Switch &sw, Request &request) {
    if (words.empty()) throw CommandError("missing service name");
    if (words.size() > QARN_MAX_TOKENS)
        throw CommandError("more than " + std::to_string(QARN_MAX_TOKENS) + " services to exclude");
    for (auto word = words.begin(); word != words.end(); ++word) {
        const sim::Service &service = service_named(*word, sw);
        if (!service.consumer) throw CommandError("service " + quoted(*word) + " is not part of this display");
        if (std::find(words.begin(), word, *word) != word)
            throw CommandError("service " + quoted(*word) + " is named twice");
        request.add_sap(service.sap);
    }
}

void feature(const Words &words, const sim::Switch &sw, Request &request) {
    const std::string name(only_word(words, "feature name"));
    const auto found = sw.features.find(name);
    if (found == sw.features.end()) throw CommandError("unknown feature " + quoted(name));
    request.req.sap = QARN_SAP_TABLE_ROW;
    request.req.index = found->second.row;
}

void everything(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.add_token(QARN_TOKEN_EXTRA_RUNNING);
}

void modules(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.req.modlist_flag = 1;
}

template <uint32_t code>
void every_vdc(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.req.cmd_code = code;
}

struct Command {
    std::string_view first, second; // words
    bool startup;                   // the startup configuration, not the running one
    uint32_t generic_option;
    const char *meaning; // null: not in the help
};
constexpr Command kCommands[] = {
    {"show", "running-config", false, 0, "the running configuration"},
    {"show", "startup-config", true, 0, "the startup configuration"},
    {"show", "running", false, 0, nullptr}, // the display of all VDCs runs these in the shell of a VDC
    {"show", "startup", true, 0, nullptr},
    {"checkpoint", "", false, QARN_OPTION_CHECKPOINT, "the running configuration, each VLAN printed separately"},
};

constexpr char kCopy[] = "copy running-config startup-config";

struct Form {
    std::string_view word;           // after the command; empty: the command alone
    const char *arguments, *meaning; // a null meaning: not in the help
    EntryPoint running, startup;     // null: no such display
    void (*parse)(const Words &, const sim::Switch &, Request &);
};

// clang-format off
constexpr Form kForms[] = {
    {"",             "",                "the whole configuration",
     qarn_cli_run_cfg_gen,              qarn_cli_start_cfg_gen,              no_arguments},
    {"vlan",         "[RANGE]",         "all VLANs, or those in RANGE, such as 10-12,20",
     qarn_cli_run_vlan_cfg_gen,         qarn_cli_start_vlan_cfg_gen,         vlan_ranges},
    {"vsan",         "[RANGE]",         "all VSANs, or those in RANGE",
     qarn_cli_run_vsan_cfg_gen,         qarn_cli_start_vsan_cfg_gen,         vsan_ranges},
    {"interface",    "NAME[-NUMBER]",   "the named interfaces, such as ethernet 1/1-4",
     qarn_cli_run_intf_cfg_gen,         qarn_cli_start_intf_cfg_gen,         interfaces},
    {"bfd",          "",                "only BFD",
     qarn_cli_run_bfd_cfg_gen,          qarn_cli_start_bfd_cfg_gen,          no_arguments},
    {"l2mp",         "",                "only L2MP",
     qarn_cli_run_l2mp_cfg_gen,         qarn_cli_start_l2mp_cfg_gen,         no_arguments},
    {"fex",          "",                "only FEX",
     qarn_cli_run_fex_cfg_gen,          qarn_cli_start_fex_cfg_gen,          no_arguments},
    {"exclude-l2mp", "",                "everything except L2MP",
     qarn_cli_run_exclude_l2mp_cfg_gen, qarn_cli_start_exclude_l2mp_cfg_gen, no_arguments},
    {"exclude-fex",  "",                "everything except FEX",
     qarn_cli_run_exclude_fex_cfg_gen,  qarn_cli_start_exclude_fex_cfg_gen,  no_arguments},
    {"port-profile", "NAME",            "one port profile",
     qarn_cli_run_profile_cfg_gen,      qarn_cli_start_profile_cfg_gen,      port_profile},
    {"exclude",      "SERVICE...",      "everything except the named services",
     qarn_cli_run_cfg_gen_exclude,      qarn_cli_start_cfg_gen_exclude,      excluded_services},
    {"service",      "NAME",            "one service",
     qarn_cli_run_cfg_gen_sap,          qarn_cli_start_cfg_gen_sap,          one_service},
    {"feature",      "NAME",            "the services of one feature",
     qarn_cli_run_cfg_gen,              qarn_cli_start_cfg_gen,              feature},
    {"all",          "",                "everything with defaults; running only",
     qarn_cli_run_cfg_gen,              nullptr,                             everything},
    {"template",     "",                "the templates; startup only",
     nullptr,                           qarn_cli_start_template_cfg_gen,     no_arguments},
    {"modules",      "",                "the line-card modules; startup only",
     nullptr,                           qarn_startup_cfg_modlist_get,        modules},
    {"vdc-all",      "",                "the configuration of every VDC",
     qarn_cli_run_cfg_gen_vdcall,       nullptr,                             every_vdc<QARN_COMMAND_RUNNING_VDCS>},
    {"vdc-all",      "",                nullptr,
     nullptr,                           qarn_cli_run_cfg_gen_vdcall,         every_vdc<QARN_COMMAND_STARTUP_VDCS>},
    {"all vdc-all",  "",                "every VDC, with defaults; running only",
     qarn_cli_run_cfg_gen_vdcall,       nullptr,                             every_vdc<QARN_COMMAND_RUNNING_ALL_VDCS>},
};
// clang-format on

// Remove the command from the front of the words.
const Command &take_command(Words &words, std::string_view line) {
    for (const Command &command : kCommands) {
        const std::size_t length = command.second.empty() ? 1 : 2;
        if (words.size() < length || words[0] != command.first) continue;
        if (length == 2 && words[1] != command.second) continue;
        words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length));
        return command;
    }
    throw UnknownCommand("unknown command " + quoted(line));
}

EntryPoint entry_of(const Form &form, const Command &command) {
    return command.startup ? form.startup : form.running;
}

// Remove the form from the front of the words; forms of two words are tried first. Null when there is none.
const Form *take_form(Words &words, const Command &command) {
    for (std::size_t length = std::min<std::size_t>(words.size(), 2);; --length) {
        std::string word;
        for (std::size_t i = 0; i < length; ++i)
            word.append(i == 0 ? "" : " ").append(words[i]);
        const auto *form = std::find_if(std::begin(kForms), std::end(kForms), [&](const Form &candidate) {
            return candidate.word == word && entry_of(candidate, command) != nullptr;
        });
        if (form != std::end(kForms)) {
            words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length));
            return form;
        }
        if (length <= 1) return nullptr;
    }
}

std::string_view trimmed(std::string_view text) {
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

} // namespace

Request::Request(std::string_view line) {
    req.valid = 1;
    req.vsan_mask.len = sizeof req.vsan_mask.bits;
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
    line.copy(req.cmd_line, sizeof req.cmd_line - 1);
}

void Request::add_token(uint32_t id) {
    add(0).token.id = id;
}

// Arguments have token id 0: an id would make them options.
Request::Token &Request::add(uint32_t type) {
    Token &token = tokens_.emplace_back();
    token.token.type = type;
    req.tokens[req.num_tokens++] = &token.token;
    return token;
}

void Request::add_name(const std::string &name) {
    Token &token = add(0);
    token.text = name;
    token.token.value = token.text.data();
}

void Request::add_sap(uint32_t sap) {
    Token &token = add(0);
    token.words = {sap};
    token.token.value = token.words.data();
}

// The words of a qarn_range_list.
void Request::add_ranges(const std::vector<std::pair<uint32_t, uint32_t>> &ranges, uint32_t type) {
    Token &token = add(type);
    token.words = {0, static_cast<uint32_t>(ranges.size())};
    for (auto [low, high] : ranges) {
        token.words.push_back(low);
        token.words.push_back(high);
    }
    token.token.value = token.words.data();
}

std::vector<std::string_view> words_of(std::string_view line) {
    Words words;
    const auto is_blank = [](unsigned char c) { return std::isspace(c) != 0; };
    const auto *at = std::find_if_not(line.begin(), line.end(), is_blank);
    while (at != line.end()) {
        const auto *end = std::find_if(at, line.end(), is_blank);
        words.emplace_back(at, end);
        at = std::find_if_not(end, line.end(), is_blank);
    }
    return words;
}

EntryPoint parse_command(std::string_view line, const sim::Switch &sw, Request &request) {
    Words words = words_of(line);
    if (words == words_of(kCopy)) {
        request.options.generic_option |= QARN_OPTION_SAVED_NOW;
        return copy_running_to_startup;
    }
    const Command &command = take_command(words, line);
    const Form *form = take_form(words, command);
    if (form == nullptr) {
        const std::string_view known = line.substr(0, static_cast<std::size_t>(words[0].data() - line.data()));
        throw UnknownCommand("unknown word " + quoted(words[0]) + " after " + quoted(trimmed(known)));
    }
    request.options.generic_option |= command.generic_option;
    form->parse(words, sw, request);
    return entry_of(*form, command);
}

std::string list_of_commands() {
    static constexpr std::size_t kMeaningColumn = 32;
    const auto add_row = [](std::string &list, std::initializer_list<std::string_view> parts, const char *meaning) {
        std::string row = " ";
        for (std::string_view part : parts) {
            if (!part.empty()) row.append(1, ' ').append(part);
        }
        row.resize(std::max(row.size() + 2, kMeaningColumn), ' ');
        list += row + meaning + '\n';
    };
    std::string list = "Usage: COMMAND [FORM]\n\nCommands:\n";
    for (const Command &command : kCommands) {
        if (command.meaning != nullptr) add_row(list, {command.first, command.second}, command.meaning);
    }
    list += "\nForms:\n";
    for (const Form &form : kForms) {
        if (form.meaning == nullptr) continue;
        add_row(list, {form.word.empty() ? "(none)" : form.word, form.arguments}, form.meaning);
    }
    list += "\nOther commands:\n";
    add_row(list, {kCopy}, "save the running configuration");
    add_row(list, {"switchto vdc NAME"}, "enter a VDC");
    add_row(list, {"switchback"}, "return to the initial VDC");
    add_row(list, {"exit, quit"}, "end the session");
    return list;
}

} // namespace shell
