// vsh: the command shell over a simulated switch. It loads a switch description, then shows the configuration that the
// library makes of it: one command given with -c, or commands as lines on standard input. Configuration goes to
// standard output, everything else to standard error.

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/built_in_switch.h"
#include "shell/command.h"
#include "shell/run.h"
#include "sim/description.h"
#include "sim/switch.h"

namespace {

struct Options {
    std::optional<std::string> command, switch_file;
    std::uint32_t debug_mask = 0;
    std::uint32_t timeout_unit = 1000; // milliseconds
};

void declare_options(CLI::App &app, Options &options) {
    app.add_option("-c,--command", options.command,
                   "run this command and end; otherwise commands are read from "
                   "standard input, a line each")
        ->type_name("COMMAND");
    app.add_option("-s,--switch", options.switch_file, "simulate the switch described here, not the built-in one")
        ->type_name("FILE");
    app.add_option("-d,--debug", options.debug_mask, "debug mask of the commands, as in 0x41")->type_name("MASK");
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the receive time-out, which is 120 units (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, 60000u).description(""));
    app.footer(shell::list_of_commands() +
               "\nNames and numbers take ranges: ethernet 1/1-4, port-channel 3, vlan 10,20-29, mgmt 0.\n"
               "Lines on standard input that are empty or begin with ! are skipped.\n"
               "\nExit status: the command's own, 0 or 1 (of several: the last failing one's); 1 when the switch\n"
               "description is not usable; 2 for an unknown command or a wrong argument; 130 after an interruption.");
}

void load(sim::Switch &sw, const Options &options) {
    if (options.switch_file) {
        sim::load_description(sw, *options.switch_file);
    } else {
        sim::load_description_text(sw, kBuiltInSwitch, "leaf.yaml (built in)");
    }
    sw.output = stdout;
    sw.transport.unit = std::chrono::milliseconds(options.timeout_unit);
    setenv("SYSMGR_VDC_ID", std::to_string(sw.vdc).c_str(), 1);
    sim::make_current(&sw);
}

int execute(sim::Switch &sw, const std::string &line, std::uint32_t debug_mask) {
    try {
        shell::Request request(line);
        request.req.dbg_mask = debug_mask;
        shell::EntryPoint entry = shell::parse_command(line, sw, request);
        return shell::run_command(sw, entry, request);
    } catch (const shell::UnknownCommand &error) {
        std::fprintf(stderr, "vsh: %s\n%s", error.what(), shell::list_of_commands().c_str());
    } catch (const shell::CommandError &error) {
        std::fprintf(stderr, "vsh: %s\n", error.what());
    }
    return shell::kExitUsage;
}

bool is_command(const std::vector<std::string_view> &words) {
    return !words.empty() && !words[0].starts_with('!');
}

bool is_end(const std::vector<std::string_view> &words) {
    return words.size() == 1 && (words[0] == "exit" || words[0] == "quit");
}

int execute_lines(sim::Switch &sw, std::istream &lines, std::uint32_t debug_mask) {
    bool prompting = isatty(STDIN_FILENO) != 0;
    int result = 0;
    std::string line;
    for (;;) {
        if (prompting) std::fprintf(stderr, "%s# ", sw.name.c_str());
        if (!std::getline(lines, line)) return result;
        if (line.ends_with('\r')) line.pop_back();
        std::vector<std::string_view> words = shell::words_of(line);
        if (is_end(words)) return result;
        if (is_command(words)) {
            int status = execute(sw, line, debug_mask);
            result = status != 0 ? status : result;
            if (status == shell::kExitBrokenPipe) return result; // nobody reads on
        }
    }
}

int run(const Options &options) {
    sim::Switch sw;
    try {
        load(sw, options);
    } catch (const sim::DescriptionError &error) {
        std::fprintf(stderr, "vsh: %s\n", error.what());
        return shell::kExitFailure;
    }
    if (!options.command) return execute_lines(sw, std::cin, options.debug_mask);
    std::vector<std::string_view> words = shell::words_of(*options.command);
    return is_command(words) && !is_end(words) ? execute(sw, *options.command, options.debug_mask) : 0;
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
    return run(options);
}
