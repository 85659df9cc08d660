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
#include "shell/options.h"
#include "shell/run.h"
#include "shell/session.h"
#include "sim/description.h"

namespace {

using shell::LineReader;
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
    shell::declare_options(app, options);
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
