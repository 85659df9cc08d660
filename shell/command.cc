// The grammar of the shell. A command begins with what it shows, and goes on with a form: a row holds the word of the
// form, the entry point of either configuration, and the parser of what follows the word.

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

constexpr std::uint32_t kInterfaceToken = 0x40200002;
constexpr std::uint32_t kLastId = 4095;         // of VLANs and VSANs: what a mask can hold
constexpr std::uint32_t kTableRow = 0xffffffff; // the request asks for the services of row `index`

using Words = std::vector<std::string_view>;
using sim::quoted;

std::string_view only_word(const Words &words, const char *what) {
    if (words.empty()) throw CommandError(std::string("missing ") + what);
    if (words.size() > 1) throw CommandError("unexpected word " + quoted(words[1]));
    return words[0];
}

// Run a parser of the description's notations, whose complaints become the command's.
template <typename Function>
auto parse_notation(Function function) {
    try {
        return function();
    } catch (const std::invalid_argument &error) {
        throw CommandError(error.what());
    }
}

const sim::Service &service_named(std::string_view name, const sim::Switch &sw) {
    auto service = std::find_if(sw.services.begin(), sw.services.end(),
                                [name](const sim::Service &candidate) { return candidate.name == name; });
    if (service == sw.services.end()) throw CommandError("unknown service " + quoted(name));
    return *service;
}

// ---- Arguments of the forms -----------------------------------------------------------------------------------------

void no_arguments(const Words &words, const sim::Switch &, Request &) {
    if (!words.empty()) throw CommandError("unexpected word " + quoted(words[0]));
}

void id_ranges(std::string_view text, const char *what, Request &request) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (const sim::IdRange &range : parse_notation([&] { return sim::parse_id_ranges(text, what, 0, kLastId); }))
        pairs.emplace_back(range.low, range.high);
    request.add_ranges(pairs);
}

// Without a range all of them are meant.
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
    std::vector<std::pair<std::uint32_t, std::uint32_t>> indexes;
    for (const std::string &name : parse_notation([&] { return sim::expand_names(names); })) {
        const sim::Interface *interface = sw.find_interface(std::string_view(name));
        if (!interface) throw CommandError("unknown interface " + quoted(name));
        indexes.emplace_back(interface->index, interface->index);
    }
    request.add_ranges(indexes, kInterfaceToken);
}

void port_profile(const Words &words, const sim::Switch &sw, Request &request) {
    std::string name(only_word(words, "port profile"));
    if (!sw.port_profiles.contains(name)) throw CommandError("unknown port profile " + quoted(name));
    request.add_name(name);
}

void one_service(const Words &words, const sim::Switch &sw, Request &request) {
    request.add_sap(service_named(only_word(words, "service name"), sw).sap);
}

// The library subtracts the number of exclusions from the number of answers that it awaits, so each must be a service
// that it would have asked, and be named once.
void excluded_services(const Words &words, const sim::Switch &sw, Request &request) {
    if (words.empty()) throw CommandError("missing service name");
    if (words.size() > QARN_MAX_TOKENS)
        throw CommandError("more than " + std::to_string(QARN_MAX_TOKENS) + " services to exclude");
    for (auto word = words.begin(); word != words.end(); ++word) {
        const sim::Service &service = service_named(*word, sw);
        if (!service.consumer) throw CommandError("service " + quoted(*word) + " takes no part in this display");
        if (std::find(words.begin(), word, *word) != word)
            throw CommandError("service " + quoted(*word) + " is named twice");
        request.add_sap(service.sap);
    }
}

void feature(const Words &words, const sim::Switch &sw, Request &request) {
    std::string name(only_word(words, "feature name"));
    auto row = sw.features.find(name);
    if (row == sw.features.end()) throw CommandError("unknown feature " + quoted(name));
    request.req.sap = kTableRow;
    request.req.index = row->second;
}

void everything(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.add_token(QARN_TOKEN_EXTRA_RUNNING);
}

void modules(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.req.modlist_flag = 1;
}

// The command codes of the displays of all VDCs.
template <std::uint32_t code>
void every_vdc(const Words &words, const sim::Switch &sw, Request &request) {
    no_arguments(words, sw, request);
    request.req.cmd_code = code;
}

// ---- The forms ------------------------------------------------------------------------------------------------------

// How a command begins: which configuration it shows, and in what manner.
struct Beginning {
    std::string_view first, second; // words
    bool startup;
    std::uint32_t generic_option;
    const char *meaning;
};
constexpr std::uint32_t kSavedNow = 0x04, kCheckpoint = 0x10;
constexpr Beginning kBeginnings[] = {
    {"show", "running-config", false, 0, "what the switch runs"},
    {"show", "startup-config", true, 0, "what it starts with"},
    {"show", "running", false, 0, nullptr}, // as the command for all VDCs says it
    {"show", "startup", true, 0, nullptr},
    {"checkpoint", "", false, kCheckpoint, "what it runs, as a checkpoint: every VLAN on its own"},
};

// Commands that are no displays.
constexpr char kCopy[] = "copy running-config startup-config";

struct Form {
    std::string_view word; // behind the beginning; empty: nothing
    const char *arguments, *meaning;
    EntryPoint running, startup; // null: there is no such display
    void (*parse)(const Words &, const sim::Switch &, Request &);
};

// clang-format off
constexpr Form kForms[] = {
    {"",             "",                "the whole configuration",
     qarn_cli_run_cfg_gen,              qarn_cli_start_cfg_gen,              no_arguments},
    {"vlan",         "[RANGE]",         "all VLANs, or these, as in 10-12,20",
     qarn_cli_run_vlan_cfg_gen,         qarn_cli_start_vlan_cfg_gen,         vlan_ranges},
    {"vsan",         "[RANGE]",         "all VSANs, or these",
     qarn_cli_run_vsan_cfg_gen,         qarn_cli_start_vsan_cfg_gen,         vsan_ranges},
    {"interface",    "NAME[-NUMBER]",   "these interfaces, as in ethernet 1/1-4",
     qarn_cli_run_intf_cfg_gen,         qarn_cli_start_intf_cfg_gen,         interfaces},
    {"bfd",          "",                "what concerns BFD",
     qarn_cli_run_bfd_cfg_gen,          qarn_cli_start_bfd_cfg_gen,          no_arguments},
    {"l2mp",         "",                "what concerns L2MP",
     qarn_cli_run_l2mp_cfg_gen,         qarn_cli_start_l2mp_cfg_gen,         no_arguments},
    {"fex",          "",                "what concerns FEX",
     qarn_cli_run_fex_cfg_gen,          qarn_cli_start_fex_cfg_gen,          no_arguments},
    {"exclude-l2mp", "",                "all but L2MP",
     qarn_cli_run_exclude_l2mp_cfg_gen, qarn_cli_start_exclude_l2mp_cfg_gen, no_arguments},
    {"exclude-fex",  "",                "all but FEX",
     qarn_cli_run_exclude_fex_cfg_gen,  qarn_cli_start_exclude_fex_cfg_gen,  no_arguments},
    {"port-profile", "NAME",            "one port profile",
     qarn_cli_run_profile_cfg_gen,      qarn_cli_start_profile_cfg_gen,      port_profile},
    {"exclude",      "SERVICE...",      "all but these services",
     qarn_cli_run_cfg_gen_exclude,      qarn_cli_start_cfg_gen_exclude,      excluded_services},
    {"service",      "NAME",            "one service",
     qarn_cli_run_cfg_gen_sap,          qarn_cli_start_cfg_gen_sap,          one_service},
    {"feature",      "NAME",            "the services of one feature",
     qarn_cli_run_cfg_gen,              qarn_cli_start_cfg_gen,              feature},
    {"all",          "",                "(of running-config) with defaults",
     qarn_cli_run_cfg_gen,              nullptr,                             everything},
    {"template",     "",                "(of startup-config) its templates",
     nullptr,                           qarn_cli_start_template_cfg_gen,     no_arguments},
    {"modules",      "",                "(of startup-config) the line-card modules",
     nullptr,                           qarn_startup_cfg_modlist_get,        modules},
    {"vdc-all",      "",                "the configuration of every VDC",
     qarn_cli_run_cfg_gen_vdcall,       nullptr,                             every_vdc<163>},
    {"vdc-all",      "",                nullptr,
     nullptr,                           qarn_cli_run_cfg_gen_vdcall,         every_vdc<165>},
    {"all vdc-all",  "",                "the same of every VDC",
     qarn_cli_run_cfg_gen_vdcall,       nullptr,                             every_vdc<164>},
};
// clang-format on

// Take the words that a command begins with off its front.
const Beginning &take_beginning(Words &words, std::string_view line) {
    for (const Beginning &beginning : kBeginnings) {
        const std::size_t length = beginning.second.empty() ? 1 : 2;
        if (words.size() < length || words[0] != beginning.first) continue;
        if (length == 2 && words[1] != beginning.second) continue;
        words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length));
        return beginning;
    }
    throw UnknownCommand("unknown command " + quoted(line));
}

EntryPoint entry_of(const Form &form, const Beginning &beginning) {
    return beginning.startup ? form.startup : form.running;
}

// The form that the words go on with, which are taken off their front: two words when there is such a form, else one.
const Form *take_form(Words &words, const Beginning &beginning) {
    for (std::size_t length = std::min<std::size_t>(words.size(), 2);; --length) {
        std::string word;
        for (std::size_t i = 0; i < length; ++i)
            word.append(i == 0 ? "" : " ").append(words[i]);
        const auto *form = std::find_if(std::begin(kForms), std::end(kForms), [&](const Form &candidate) {
            return candidate.word == word && entry_of(candidate, beginning) != nullptr;
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

void Request::add_token(std::uint32_t id) {
    add(0).token.id = id;
}

// The token ids of arguments stay 0: they are no options.
Request::Token &Request::add(std::uint32_t type) {
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

void Request::add_sap(std::uint32_t sap) {
    Token &token = add(0);
    token.words = {sap};
    token.token.value = token.words.data();
}

// The words of a qarn_range_list.
void Request::add_ranges(const std::vector<std::pair<std::uint32_t, std::uint32_t>> &ranges, std::uint32_t type) {
    Token &token = add(type);
    token.words = {0, static_cast<std::uint32_t>(ranges.size())};
    for (auto [low, high] : ranges) {
        token.words.push_back(low);
        token.words.push_back(high);
    }
    token.token.value = token.words.data();
}

std::vector<std::string_view> words_of(std::string_view line) {
    Words words;
    auto is_blank = [](unsigned char c) { return std::isspace(c) != 0; };
    auto at = std::find_if_not(line.begin(), line.end(), is_blank);
    while (at != line.end()) {
        auto end = std::find_if(at, line.end(), is_blank);
        words.emplace_back(at, end);
        at = std::find_if_not(end, line.end(), is_blank);
    }
    return words;
}

EntryPoint parse_command(std::string_view line, const sim::Switch &sw, Request &request) {
    Words words = words_of(line);
    if (words == words_of(kCopy)) {
        request.options.generic_option |= kSavedNow; // the header says when it was saved
        return copy_running_to_startup;
    }
    const Beginning &beginning = take_beginning(words, line);
    const Form *form = take_form(words, beginning);
    if (form == nullptr) {
        std::string_view known = line.substr(0, static_cast<std::size_t>(words[0].data() - line.data()));
        throw UnknownCommand("unknown word " + quoted(words[0]) + " after " + quoted(trimmed(known)));
    }
    request.options.generic_option |= beginning.generic_option;
    form->parse(words, sw, request);
    return entry_of(*form, beginning);
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
    std::string list = "Commands begin with\n";
    for (const Beginning &beginning : kBeginnings) {
        if (beginning.meaning != nullptr) add_row(list, {beginning.first, beginning.second}, beginning.meaning);
    }
    list += "and go on with\n";
    for (const Form &form : kForms) {
        if (form.meaning == nullptr) continue;
        add_row(list, {form.word.empty() ? "(nothing)" : form.word, form.arguments}, form.meaning);
    }
    list += "Others are\n";
    add_row(list, {kCopy}, "save what the switch runs");
    add_row(list, {"switchto vdc NAME"}, "go on with commands in that VDC");
    add_row(list, {"switchback"}, "go on in the VDC of the beginning");
    return list + "To end: exit, quit\n";
}

} // namespace shell
