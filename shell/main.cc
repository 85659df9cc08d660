// vsh: the command shell over a simulated switch. It loads a switch description and shows the configuration that the
// library generates for it: one command from -c, or commands from the lines of standard input. Configuration goes to
// standard output, everything else to standard error. Options also come from the environment, where the shell puts them
// for the shells that the display of all VDCs starts.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "shell/command.h"
#include "shell/run.h"
#include "shell/session.h"

namespace {

using shell::Options;
using shell::Session;

void declare_session_options(CLI::App &app, Options &options) {
    app.add_option("-c,--command", options.command,
                   "run this command and exit; by default, read commands from standard input, one per line")
        ->type_name("COMMAND");
    app.add_option("-s,--switch", options.switch_file,
                   "simulate the switch that this file describes instead of the built-in one")
        ->type_name("FILE")
        ->envname("VSH_SWITCH");
    app.add_option("--store", options.store,
                   "folder of the saved configuration (default: from the description, if any)")
        ->type_name("DIR")
        ->envname("VSH_STORE");
    app.add_option("-i,--vdc", options.vdc, "start in this VDC instead of the description's own")->type_name("ID");
    app.add_option("-o", options.display_option, "ignored; for compatibility")->type_name("N");
}

void declare_options_of_commands(CLI::App &app, Options &options) {
    app.add_flag("--script-mode", options.script_mode, "commands come from a script")->envname("VSH_SCRIPT_MODE");
    app.add_option("--filter-mode", options.filter_mode,
                   "filter bits for the commands, such as 0x08: show the switch profile")
        ->type_name("BITS")
        ->envname("VSH_FILTER_MODE");
    app.add_option("-d,--debug", options.debug_mask, "debug mask for the commands, such as 0x41")
        ->type_name("MASK")
        ->envname("VSH_DEBUG");
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the receive time-out, which has 120 units (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, 60000u).description(""))
        ->envname("VSH_TIMEOUT_UNIT");
}

void declare_help(CLI::App &app) {
    app.footer(
        shell::list_of_commands() +
        "\nNames and numbers may have ranges: ethernet 1/1-4, port-channel 3, vlan 10,20-29, mgmt 0.\n"
        "Empty lines and lines that begin with ! are skipped.\n"
        "\nExit status: that of the command, 0 or 1; in a session, that of the last command that failed, or 0.\n"
        "Also 1 if the switch description is unusable, or the store is unusable or not what was saved; 2 for an\n"
        "unknown command or a wrong argument; 130 after an interruption; 141 if nothing reads the output.");
}

// Open /dev/null for each of the three standard streams that the caller closed, so that no other file gets its number.
// A write to such a stream still fails.
void hold_standard_streams() {
    int opened = STDIN_FILENO;
    while (opened >= 0 && opened <= STDERR_FILENO)
        opened = open("/dev/null", O_RDONLY);
    if (opened > STDERR_FILENO) close(opened);
}

void export_path(const char *variable, const char *option, const std::optional<std::string> &path) {
    if (!path) return;
    if (path->empty()) throw std::runtime_error(std::string(option) + " needs a path");
    setenv(variable, std::filesystem::absolute(*path).c_str(), 1);
}

// Put the options into the environment, with absolute paths since the reader may run in another folder.
void export_options(const Options &options) {
    export_path("VSH_SWITCH", "--switch", options.switch_file);
    export_path("VSH_STORE", "--store", options.store);
    if (options.script_mode) setenv("VSH_SCRIPT_MODE", "true", 1);
    setenv("VSH_FILTER_MODE", std::to_string(options.filter_mode).c_str(), 1);
    setenv("VSH_DEBUG", std::to_string(options.debug_mask).c_str(), 1);
    setenv("VSH_TIMEOUT_UNIT", std::to_string(options.timeout_unit).c_str(), 1);
}

bool is_command(const std::vector<std::string_view> &words) {
    return !words.empty() && !words[0].starts_with('!');
}

bool is_end(const std::vector<std::string_view> &words) {
    return words.size() == 1 && (words[0] == "exit" || words[0] == "quit");
}

int execute_lines(Session &session, std::istream &lines) {
    const bool prompting = isatty(STDIN_FILENO) != 0;
    int result = 0;
    std::string line;
    for (;;) {
        if (prompting) std::fprintf(stderr, "%s# ", session.prompt().c_str());
        if (!std::getline(lines, line)) return result;
        if (line.ends_with('\r')) line.pop_back();
        const std::vector<std::string_view> words = shell::words_of(line);
        if (is_end(words)) return result;
        if (is_command(words)) {
            const int status = session.execute(line);
            result = status != 0 ? status : result;
            if (status == shell::kExitBrokenPipe) return result;
        }
    }
}

int run(const Options &options) {
    export_options(options);
    Session session(options);
    if (!options.command) return execute_lines(session, std::cin);
    const std::vector<std::string_view> words = shell::words_of(*options.command);
    return is_command(words) && !is_end(words) ? session.execute(*options.command) : 0;
}

int parse_and_run(int argc, char **argv) {
    CLI::App app("Shows the configuration of a simulated switch.", "vsh");
    Options options;
    declare_session_options(app, options);
    declare_options_of_commands(app, options);
    declare_help(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : shell::kExitUsage;
    }
    return run(options);
}

} // namespace

int main(int argc, char **argv) {
    hold_standard_streams();
    // The shell shares the position in its standard input with its children: a child that exits must not move it, as
    // the C library would.
    std::ios::sync_with_stdio(false);
    try {
        return parse_and_run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vsh: %s\n", error.what());
        return shell::kExitFailure;
    }
}
