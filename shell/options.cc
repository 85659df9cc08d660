#include "shell/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "shell/session.h"
#include "shell/usage.h"
#include "sim/notation.h"

namespace shell {
namespace {

constexpr char kComplete[] = "--complete";
constexpr double kLongestDeadline = 1e9;

// Checks of CLI11: an empty text or what is wrong.
std::string number_given(const std::string &text) {
    return text.empty() ? "needs a number" : "";
}

// What is wrong with the port of an address, if it has one.
std::string wrong_port_in(const std::string &url) {
    const std::size_t host = url.find("://") == std::string::npos ? 0 : url.find("://") + 3;
    const std::size_t bracket = url.find(']', host),
                      colon = url.find(':', bracket == std::string::npos ? host : bracket);
    if (colon == std::string::npos) return "";
    const std::string port = url.substr(colon + 1, url.find('/', colon) - colon - 1);
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    const bool is_port = error == std::errc() && end == port.data() + port.size() && number != 0;
    return is_port ? "" : "the port in " + sim::printable(url) + " is no number from 1 to 65535";
}

// The parser takes whatever follows an option as its argument.
std::string description_given(const std::string &path) {
    if (path.starts_with('-')) return "needs a path, not the option " + sim::printable(path);
    return path.empty() ? "needs a path" : "";
}

std::string address_given(const std::string &urls) {
    if (urls.empty()) return "needs an address, such as nats://127.0.0.1:4222";
    if (urls.starts_with('-')) return "needs an address, not the option " + sim::printable(urls);
    std::string wrong;
    for (const std::string &url : CLI::detail::split(urls, ','))
        if (wrong.empty() && url.find('@') == std::string::npos) wrong = wrong_port_in(url);
    return wrong;
}

std::string path_given(const std::string &path) {
    return path == "-" ? "" : description_given(path);
}

std::string seconds_given(const std::string &text) {
    double seconds = 0;
    const bool is_number = CLI::detail::lexical_cast(text, seconds);
    return is_number && seconds > 0 && seconds <= kLongestDeadline ? ""
                                                                   : "needs a number of seconds above 0, at most 1e9";
}

// The words that an argument may be. CLI11 does not give them back, so they are also the name of the check.
CLI::Validator one_of(const std::vector<std::string> &words) {
    return CLI::IsMember(words).description("").name(CLI::detail::join(words, " "));
}

// CLI11 takes the variables of the environment as if they were options.
void declare_options_of_transport(CLI::App &app, Options &options) {
    app.add_option("--connect", options.connect,
                   "show the switch whose services answer through the NATS server at this address")
        ->type_name("URL")
        ->check(address_given)
        ->envname("VSH_CONNECT");
    app.add_option("--switch-name", options.switch_name, "name of the switch there (default: from the description)")
        ->type_name("NAME")
        ->needs("--connect");
    app.add_option("--credentials", options.credentials, "file with the user and the certificates for --connect")
        ->type_name("FILE")
        ->check(description_given)
        ->needs("--connect");
}

// The variables of options that need --connect. They have no effect without it, where the option would be an error.
struct Variable {
    const char *option, *name;
    std::optional<std::string> Options::*value;
};
constexpr Variable kVariablesOfTransport[] = {{"--switch-name", "VSH_SWITCH_NAME", &Options::switch_name},
                                              {"--credentials", "VSH_CREDENTIALS", &Options::credentials}};

void declare_options_of_fleets(CLI::App &app, Options &options) {
    app.add_flag("--list-switches", options.list_switches, "list the switches that are registered there, and exit")
        ->needs("--connect")
        ->excludes("--switch-name")
        ->excludes("-c")
        ->excludes("-f");
    app.add_option("--each-switch", options.each_switch,
                   "run the command of -c on every switch there; each text that is complete replaces NAME.cfg in this "
                   "folder")
        ->type_name("DIR")
        ->check(path_given)
        ->needs("--connect")
        ->needs("-c")
        ->excludes("--switch-name");
    app.add_option("--jobs", options.jobs, "switches that are shown at a time (default: 2 per processor, at least 4)")
        ->type_name("N")
        ->check(CLI::Range(1u, 1000u).description(""))
        ->needs("--each-switch");
}

// Declare an option that is not in the help, since only the completions of the user's shell need it. CLI11 would end
// the help with an empty line if the group without a name were the last one, so that the help's own option comes after
// it.
void declare_hidden_option(CLI::App &app, Options &options) {
    const std::string help = app.get_help_ptr()->get_name(false, true), meaning = app.get_help_ptr()->get_description();
    app.set_help_flag();
    app.add_option(kComplete, options.completed, "print what may come next in this command")->group("");
    app.set_help_flag(help, meaning);
}

void declare_session_options(CLI::App &app, Options &options) {
    app.add_option(
           "-c,--command", options.commands,
           "run this command and exit; several run in this order. By default, commands are the lines of standard "
           "input")
        ->type_name("COMMAND")
        ->allow_extra_args(false);
    app.add_option("-f,--script", options.script,
                   "run the commands of this file, one per line, and exit; - is standard input")
        ->type_name("FILE")
        ->check(path_given)
        ->excludes("-c");
    app.add_flag("--stop-on-error", options.stop_on_error,
                 "end a script, or several commands, after the first one whose status is not 0");
    app.add_option("-s,--switch", options.switch_file,
                   "simulate the switch that this file describes instead of the built-in one; with --connect also a "
                   "folder of files NAME.yaml")
        ->type_name("FILE")
        ->check(path_given)
        ->envname("VSH_SWITCH");
    app.add_option("--store", options.store,
                   "folder of the saved configuration (default: from the description, if any)")
        ->type_name("DIR")
        ->check(path_given)
        ->envname("VSH_STORE");
    app.add_option("-i,--vdc", options.vdc, "start in this VDC instead of the description's own")
        ->type_name("ID")
        ->check(number_given);
    app.add_flag("--no-history", options.no_history, "do not keep the lines that are typed for later sessions");
    app.add_option("-o", options.display_option, "ignored; for compatibility")->type_name("N");
}

void declare_options_of_commands(CLI::App &app, Options &options) {
    app.add_flag("--script-mode", options.script_mode, "commands come from a script")->envname("VSH_SCRIPT_MODE");
    app.add_option("--filter-mode", options.filter_mode,
                   "filter bits for the commands, such as 0x08: show the switch profile")
        ->type_name("BITS")
        ->check(number_given)
        ->envname("VSH_FILTER_MODE");
    app.add_option("-d,--debug", options.debug_mask, "debug mask for the commands, such as 0x41")
        ->type_name("MASK")
        ->check(number_given)
        ->envname("VSH_DEBUG");
    app.add_flag("--fail-partial", options.fail_partial,
                 "print nothing to standard output unless the configuration is complete");
    app.add_option("--output", options.output, "write the configuration to this file instead, and only a complete one")
        ->type_name("FILE")
        ->check(path_given)
        ->needs("-c")
        ->excludes("--each-switch");
    app.add_flag("--plain", options.plain,
                 "without the header lines that change from one display to the next: command, time, when it was saved")
        ->envname("VSH_PLAIN");
    app.add_flag(
           "--mask", options.mask,
           "show <hidden> instead of what the description marks as secret; with --record also replace the letters and "
           "digits of the texts in the recording")
        ->envname("VSH_MASK");
    app.add_option("--color", options.color, "colors: auto (on a terminal, unless NO_COLOR is set), always or never")
        ->type_name("WHEN")
        ->check(one_of({"auto", "always", "never"}));
    app.add_flag("--no-pager", options.no_pager, "never show a long text on a terminal with $PAGER (default: less)");
}

void declare_options_of_times(CLI::App &app, Options &options) {
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the receive time-out, which has 120 units (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, 60000u).description(""))
        ->envname("VSH_TIMEOUT_UNIT");
    app.add_option("--deadline", options.deadline,
                   "seconds that a command may take; what has not arrived by then is missing (default: no limit)")
        ->type_name("SECONDS")
        ->check(seconds_given)
        ->envname("VSH_DEADLINE");
}

void declare_options_of_recordings(CLI::App &app, Options &options) {
    app.add_option("--record", options.record,
                   "keep all that the command of -c receives in this file, for --replay and for programs that show "
                   "packets")
        ->type_name("FILE")
        ->check(path_given)
        ->needs("-c")
        ->excludes("--each-switch");
    CLI::Option *const replay =
        app.add_option("--replay", options.replay,
                       "run the command in this recording, or those of -c that explain it, as it was run then; the "
                       "switch and the options come from the recording")
            ->type_name("FILE")
            ->check(description_given)
            ->excludes("-f")
            ->excludes("-i")
            ->excludes("--record")
            ->excludes("--each-switch")
            ->excludes("--list-switches");
    app.add_flag("--pace", options.pace, "with the pauses of the recorded command")->needs(replay);
}

void declare_options_of_checks(CLI::App &app, Options &options) {
    app.add_option("--check", options.checked_file,
                   "report everything that is wrong with the switch description FILE, and exit")
        ->type_name("FILE")
        ->check(description_given)
        ->excludes("-c")
        ->excludes("-f");
    app.add_flag("--json", options.json, "report it as JSON: what --check, --list-switches or --each-switch find");
    app.add_flag("--no-warnings", options.no_warnings, "do not mention warnings of the description at the start")
        ->envname("VSH_NO_WARNINGS");
}

void declare_help(CLI::App &app) {
    app.footer(
        list_of_commands() +
        "\nNames and numbers may have ranges: ethernet 1/1-4, port-channel 3, vlan 10,20-29, mgmt 0.\n"
        "Empty lines and lines that begin with ! are skipped.\n"
        "If the switch has a display conversion, the texts are shown with the words that its rules give.\n"
        "\nExit status:\n"
        "  0    the configuration is complete\n"
        "  1    the command could not be carried out: no startup configuration, locked, cannot write, not complete enough\n"
        "       to copy\n"
        "  2    unknown command, wrong argument or description\n"
        "  3    the configuration was printed, but a part is missing or doubled; standard error names it\n"
        "  4    elements wait for each other; standard error names them\n"
        "  130  interrupted; 141: nothing reads the output; 128+N: ended by signal N\n"
        "Of several commands the worst: 2, 1, an interruption, 4, 3.\n"
        "With --check: 0 nothing is wrong, 1 only warnings, 2 at least one error.");
}

std::vector<std::string> names_of(const CLI::Option &option) {
    std::vector<std::string> names;
    for (const std::string &name : option.get_snames())
        names.push_back('-' + name);
    for (const std::string &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::vector<std::string> names_of(const std::set<CLI::Option *> &options) {
    std::vector<std::string> names;
    names.reserve(options.size());
    for (const CLI::Option *option : options)
        names.push_back(names_of(*option).front());
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> words_of_argument(CLI::Option &option) try {
    const std::string name = option.get_validator()->get_name();
    return name.empty() ? std::vector<std::string>() : CLI::detail::split(name, ' ');
} catch (const CLI::OptionNotFound &) { // no check
    return {};
}

OptionUsage usage_of(CLI::Option &option) {
    const bool is_flag = option.get_items_expected_max() == 0;
    return {.names = names_of(option),
            .argument = is_flag ? "" : option.get_type_name(),
            .words = words_of_argument(option),
            .meaning = option.get_description(),
            .variable = option.get_envname(),
            .needs = names_of(option.get_needs()),
            .excludes = names_of(option.get_excludes()),
            .may_repeat = option.get_expected_max() > 1};
}

} // namespace

void declare_options(CLI::App &app, Options &options) {
    declare_hidden_option(app, options);
    declare_session_options(app, options);
    declare_options_of_transport(app, options);
    declare_options_of_fleets(app, options);
    declare_options_of_commands(app, options);
    declare_options_of_recordings(app, options);
    declare_options_of_times(app, options);
    declare_options_of_checks(app, options);
    app.set_version_flag("--version", "vsh " VSH_VERSION, "print the version and exit");
    declare_help(app);
}

void name_variables(CLI::App &app) {
    for (const Variable &variable : kVariablesOfTransport)
        app.get_option(variable.option)->envname(variable.name);
}

// What concerns all switches ignores the name of one.
void take_variables(Options &options) {
    if (!options.connect) return;
    for (const Variable &variable : kVariablesOfTransport) {
        const char *const text = std::getenv(variable.name);
        if (!(options.*variable.value) && text != nullptr && *text != '\0') options.*variable.value = text;
    }
    if (options.list_switches || options.each_switch) options.switch_name.reset();
}

bool asks_for_candidates(const CLI::App &app) {
    return app.get_option(kComplete)->count() > 0;
}

std::vector<OptionUsage> usages_of_options() {
    CLI::App app;
    Options options;
    declare_options(app, options);
    name_variables(app);
    std::vector<OptionUsage> usages;
    for (CLI::Option *option : app.get_options([](const CLI::Option *one) { return !one->get_group().empty(); }))
        usages.push_back(usage_of(*option));
    return usages;
}

} // namespace shell
