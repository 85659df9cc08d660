// vsh: the command shell over a simulated switch. It loads a switch description and shows the configuration that the
// library generates for it: one command from -c, or commands from the lines of standard input. Configuration goes to
// standard output, everything else to standard error. Options also come from the environment, where the shell puts them
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
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "shell/check.h"
#include "shell/editor.h"
#include "shell/line.h"
#include "shell/lines.h"
#include "shell/message.h"
#include "shell/run.h"
#include "shell/session.h"
#include "shell/usage.h"
#include "sim/description.h"
#include "sim/notation.h"

namespace {

using shell::LineReader;
using shell::Options;
using shell::Session;

constexpr double kLongestDeadline = 1e9;

// Checks of CLI11: an empty text or what is wrong.
std::string path_given(const std::string &path) {
    return path.empty() ? "needs a path" : "";
}

std::string number_given(const std::string &text) {
    return text.empty() ? "needs a number" : "";
}

// The parser takes whatever follows --check as its FILE.
std::string description_given(const std::string &path) {
    return path.starts_with('-') ? "needs a path, not the option " + sim::printable(path) : path_given(path);
}

std::string seconds_given(const std::string &text) {
    double seconds = 0;
    const bool is_number = CLI::detail::lexical_cast(text, seconds);
    return is_number && seconds > 0 && seconds <= kLongestDeadline ? ""
                                                                   : "needs a number of seconds above 0, at most 1e9";
}

void declare_session_options(CLI::App &app, Options &options) {
    app.add_option("-c,--command", options.command,
                   "run this command and exit; by default, read commands from standard input, one per line")
        ->type_name("COMMAND");
    app.add_option("-s,--switch", options.switch_file,
                   "simulate the switch that this file describes instead of the built-in one")
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
        ->needs("-c");
    app.add_option("--color", options.color, "colors: auto (on a terminal, unless NO_COLOR is set), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""));
    app.add_flag("--no-pager", options.no_pager, "never show a long text on a terminal with $PAGER (default: less)");
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

void declare_options_of_checks(CLI::App &app, Options &options) {
    app.add_option("--check", options.checked_file,
                   "report everything that is wrong with the switch description FILE, and exit")
        ->type_name("FILE")
        ->check(description_given)
        ->excludes("-c");
    app.add_flag("--json", options.json, "report it as JSON")->needs("--check");
    app.add_flag("--no-warnings", options.no_warnings, "do not mention warnings of the description at the start")
        ->envname("VSH_NO_WARNINGS");
}

void declare_help(CLI::App &app) {
    app.footer(
        shell::list_of_commands() +
        "\nNames and numbers may have ranges: ethernet 1/1-4, port-channel 3, vlan 10,20-29, mgmt 0.\n"
        "Empty lines and lines that begin with ! are skipped.\n"
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

void export_path(const char *variable, const std::optional<std::string> &path) {
    if (!path) return;
    setenv(variable, std::filesystem::absolute(*path).c_str(), 1);
}

// Put the options into the environment, with absolute paths since the reader may run in another folder.
void export_options(const Options &options) {
    export_path("VSH_SWITCH", options.switch_file);
    export_path("VSH_STORE", options.store);
    setenv("VSH_NO_WARNINGS", "true", 1); // this shell reports them
    if (options.script_mode) setenv("VSH_SCRIPT_MODE", "true", 1);
    setenv("VSH_FILTER_MODE", std::to_string(options.filter_mode).c_str(), 1);
    setenv("VSH_DEBUG", std::to_string(options.debug_mask).c_str(), 1);
    setenv("VSH_TIMEOUT_UNIT", std::to_string(options.timeout_unit).c_str(), 1);
}

bool is_command(const std::vector<std::string_view> &words) {
    return !words.empty() && !words[0].starts_with('!');
}

// Run one line. False at the end of the session, which an interrupted command of a script brings about too.
bool execute_line(Session &session, std::string_view line, bool is_script, int &result) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::vector<std::string_view> words = shell::words_of(line);
    if (!is_command(words)) return true;
    const int status = session.execute(std::string(line));
    result = shell::worse_of(result, status);
    if (status == shell::kExitBrokenPipe || (is_script && status == shell::kExitInterrupted)) return false;
    return !session.is_over();
}

// On a terminal that allows it, lines are edited.
std::unique_ptr<LineReader> reader_for(Session &session, bool has_history_file) {
    if (isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
        auto editor = std::make_unique<shell::Editor>([&session]() -> const sim::Switch & { return session.current(); },
                                                      has_history_file);
        if (editor->is_usable()) return editor;
    }
    return std::make_unique<shell::Lines>();
}

// An interruption between commands clears the line of a user who types, and ends a script.
int execute_lines(Session &session) {
    using Event = LineReader::Event;
    const bool prompting = isatty(STDIN_FILENO) != 0;
    const std::unique_ptr<LineReader> reader = reader_for(session, !session.options().no_history);
    int result = 0;
    std::string line;
    for (;;) {
        const Event event = reader->next(session.prompt(), line);
        if (event == Event::kInterruption) {
            std::fputs(prompting ? "\n" : "vsh: session interrupted\n", stderr);
            if (!prompting) return shell::kExitInterrupted;
        } else if (event == Event::kRefused) {
            result = shell::worse_of(result, shell::kExitUsage);
        } else if (event == Event::kEnd || !execute_line(session, line, !prompting, result)) {
            return result;
        }
    }
}

int run(const Options &options) {
    if (options.checked_file) return shell::check_file(*options.checked_file, options.json);
    export_options(options);
    Session session(options);
    if (!options.command) return execute_lines(session);
    const std::vector<std::string_view> words = shell::words_of(*options.command);
    if (is_command(words)) return session.execute(*options.command);
    if (options.output) throw shell::CommandError(shell::kNoOutput);
    return shell::kExitComplete;
}

int parse_and_run(int argc, char **argv) {
    CLI::App app("Shows the configuration of a simulated switch.", "vsh");
    Options options;
    declare_session_options(app, options);
    declare_options_of_commands(app, options);
    declare_options_of_checks(app, options);
    declare_help(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        std::ostringstream help;
        if (app.exit(error, help) != 0) return shell::kExitUsage;
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
