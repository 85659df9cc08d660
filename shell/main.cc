// vsh: the command shell over a simulated switch. It loads a switch description, then shows the configuration that the
// library makes of it: one command given with -c, or commands as lines on standard input. Configuration goes to
// standard output, everything else to standard error. Options are also taken from the environment, and are put there
// for the shells that the command for all VDCs starts.

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
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

void declare_options(CLI::App &app, Options &options) {
    app.add_option("-c,--command", options.command,
                   "run this command and end; otherwise commands are read from "
                   "standard input, a line each")
        ->type_name("COMMAND");
    app.add_option("-s,--switch", options.switch_file, "simulate the switch described here, not the built-in one")
        ->type_name("FILE")
        ->envname("VSH_SWITCH");
    app.add_option("--store", options.store, "folder of the saved configuration (default: the description's, or none)")
        ->type_name("DIR")
        ->envname("VSH_STORE");
    app.add_option("-i,--vdc", options.vdc, "begin in this VDC, not in the one that the description is of")
        ->type_name("ID");
    app.add_option("-o", options.display_option, "accepted from a calling shell, and of no effect")->type_name("N");
    app.add_flag("--script-mode", options.script_mode, "commands come from a script")->envname("VSH_SCRIPT_MODE");
    app.add_option("--filter-mode", options.filter_mode,
                   "filter bits of the commands, as in 0x08: show the switch profile")
        ->type_name("BITS")
        ->envname("VSH_FILTER_MODE");
    app.add_option("-d,--debug", options.debug_mask, "debug mask of the commands, as in 0x41")
        ->type_name("MASK")
        ->envname("VSH_DEBUG");
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the receive time-out, which is 120 units (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, 60000u).description(""))
        ->envname("VSH_TIMEOUT_UNIT");
    app.footer(shell::list_of_commands() +
               "\nNames and numbers take ranges: ethernet 1/1-4, port-channel 3, vlan 10,20-29, mgmt 0.\n"
               "Lines on standard input that are empty or begin with ! are skipped.\n"
               "\nExit status: the command's own, 0 or 1 (of several: the last failing one's); 1 when the switch\n"
               "description or the store is not usable; 2 for an unknown command or a wrong argument; 130 after an\n"
               "interruption.");
}

// Put the options into the environment, files by paths that hold in every folder.
void hand_down(const Options &options) {
    if (options.switch_file) setenv("VSH_SWITCH", std::filesystem::absolute(*options.switch_file).c_str(), 1);
    if (options.store) setenv("VSH_STORE", std::filesystem::absolute(*options.store).c_str(), 1);
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
    bool prompting = isatty(STDIN_FILENO) != 0;
    int result = 0;
    std::string line;
    for (;;) {
        if (prompting) std::fprintf(stderr, "%s# ", session.prompt().c_str());
        if (!std::getline(lines, line)) return result;
        if (line.ends_with('\r')) line.pop_back();
        std::vector<std::string_view> words = shell::words_of(line);
        if (is_end(words)) return result;
        if (is_command(words)) {
            int status = session.execute(line);
            result = status != 0 ? status : result;
            if (status == shell::kExitBrokenPipe) return result; // nobody reads on
        }
    }
}

int run(const Options &options) {
    try {
        Session session(options);
        if (!options.command) return execute_lines(session, std::cin);
        const std::vector<std::string_view> words = shell::words_of(*options.command);
        return is_command(words) && !is_end(words) ? session.execute(*options.command) : 0;
    } catch (const std::runtime_error &error) {
        std::fprintf(stderr, "vsh: %s\n", error.what());
        return shell::kExitFailure;
    }
}

} // namespace

int main(int argc, char **argv) {
    // A child that exits must not move the position of the C library's standard input, which the shell goes on reading.
    std::ios::sync_with_stdio(false);
    CLI::App app("Shows the configuration of a simulated switch.", "vsh");
    Options options;
    declare_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : shell::kExitUsage;
    }
    hand_down(options);
    return run(options);
}
