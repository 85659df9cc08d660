// vsh: the command shell over a simulated switch. It loads a switch description and shows the configuration that the
// library generates for it: commands from -c, from a script or from standard input. Configuration goes to standard
// output, everything else to standard error. Options also come from the environment, where the shell puts them
// for the shells that the display of all VDCs starts.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "shell/candidates.h"
#include "shell/check.h"
#include "shell/command_error.h"
#include "shell/fleet/fleet.h"
#include "shell/lines.h"
#include "shell/message.h"
#include "shell/option_error.h"
#include "shell/options.h"
#include "shell/recording/replay.h"
#include "shell/registered.h"
#include "shell/run.h"
#include "shell/script.h"
#include "shell/session.h"
#include "sim/description.h"
#include "sim/notation.h"

namespace {

using shell::Options;
using shell::Session;

bool has_no_reader(int stream) {
    struct pollfd output = {stream, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

// Open /dev/null for each of the three standard streams that the caller closed, so that no other file gets its number.
// A write to such a stream still fails.
void hold_standard_streams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) != stream)
            throw std::runtime_error(std::string("cannot open /dev/null: ") + std::strerror(errno));
    }
    if (!has_no_reader(STDERR_FILENO)) return;
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); // a message must not cost the configuration
    if (null >= 0) dup2(null, STDERR_FILENO);
}

// A relative path leads nowhere if the current folder was deleted.
template <typename Error>
void export_path(const char *variable, const std::optional<std::string> &path) {
    if (!path) return;
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(*path, error);
    if (error) throw Error("cannot use " + sim::printable(*path) + ": the current folder: " + error.message());
    setenv(variable, whole.c_str(), 1);
}

// Put the options into the environment, with absolute paths since the reader may run in another folder.
void export_options(const Options &options) {
    export_path<shell::CommandError>("VSH_SWITCH", options.switch_file);
    export_path<std::runtime_error>("VSH_STORE", options.store);
    export_path<std::runtime_error>("VSH_CREDENTIALS", options.credentials);
    if (options.connect) setenv("VSH_CONNECT", options.connect->c_str(), 1);
    if (options.switch_name) setenv("VSH_SWITCH_NAME", options.switch_name->c_str(), 1);
    setenv("VSH_NO_WARNINGS", "true", 1); // this shell reports them
    if (options.script_mode) setenv("VSH_SCRIPT_MODE", "true", 1);
    if (options.plain) setenv("VSH_PLAIN", "true", 1);
    if (options.mask) setenv("VSH_MASK", "true", 1);
    setenv("VSH_FILTER_MODE", std::to_string(options.filter_mode).c_str(), 1);
    setenv("VSH_DEBUG", std::to_string(options.debug_mask).c_str(), 1);
    setenv("VSH_TIMEOUT_UNIT", std::to_string(options.timeout_unit).c_str(), 1);
}

int run(const Options &options) {
    if (options.completed) return shell::print_candidates(options);
    if (options.json && !options.checked_file && !options.list_switches && !options.each_switch)
        throw shell::CommandError("--json needs --check, --list-switches or --each-switch");
    if (options.checked_file) return shell::check_file(*options.checked_file, options.json);
    shell::join_message_log();
    if (options.replay) return shell::replay(options);
    export_options(options);
    if (options.list_switches) return shell::list_switches(options);
    if (options.each_switch) return shell::show_each_switch(options);
    Session session(options);
    return shell::run_commands(session);
}

int parse_and_run(int argc, char **argv) {
    CLI::App app("Shows the configuration of a simulated switch.", "vsh");
    Options options;
    shell::declare_options(app, options);
    try {
        app.parse(argc, argv);
        shell::take_variables(options);
    } catch (const CLI::ParseError &error) {
        if (shell::asks_for_candidates(app)) return shell::print_candidates(options);
        shell::name_variables(app);
        std::ostringstream help;
        if (app.exit(error, help, help) != 0) {
            shell::print_message("%s", shell::explain(error, app).c_str());
            shell::print_message("--help describes the options");
            return shell::kExitUsage;
        }
        std::fputs(help.str().c_str(), stdout);
        return shell::flush_output() ? 0 : shell::kExitFailure;
    }
    return run(options);
}

} // namespace

int main(int argc, char **argv) {
    try {
        hold_standard_streams();
        signal(SIGCHLD, SIG_DFL); // the caller may ignore it, and then no child could be waited for
        return parse_and_run(argc, argv);
    } catch (const sim::DescriptionError &error) {
        shell::print_message("%s", error.what());
        return shell::kExitUsage;
    } catch (const shell::CommandError &error) { // the VDC to start in
        shell::print_message("%s", error.what());
        return shell::kExitUsage;
    } catch (const shell::ListingInterrupted &error) {
        shell::print_message("%s", error.what());
        return shell::kExitInterrupted;
    } catch (const shell::LineTooLong &error) {
        shell::print_message("%s", error.what());
        return shell::kExitUsage;
    } catch (const std::bad_alloc &) {
        shell::print_message("not enough memory");
    } catch (const std::exception &error) {
        shell::print_message("%s", error.what());
    }
    return shell::kExitFailure;
}
