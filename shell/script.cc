#include "shell/script.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/command_error.h"
#include "shell/editor.h"
#include "shell/entry_process.h"
#include "shell/exit_code.h"
#include "shell/line.h"
#include "shell/lines.h"
#include "shell/message.h"
#include "sim/notation.h"

namespace shell {
namespace {

bool is_command(std::string_view line) {
    const std::vector<std::string_view> words = words_of(line);
    return !words.empty() && !words[0].starts_with('!');
}

// Runs one line after the other until one of them ends the session.
class Runner {
  public:
    // A user who types goes on after an interruption or an error.
    Runner(Session &session, bool is_typed) : session_(session), is_typed_(is_typed) {}

    int result() const { return result_; }
    bool was_interrupted() const { return last_status_ == kExitInterrupted; } // the last command
    void take(int status) { result_ = worse_of(result_, status); }

    // False when no further line is to be run.
    bool run(std::string_view line, const std::string &place) {
        last_status_ = kExitComplete;
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (!is_command(line)) return true;
        const Place current(place);
        last_status_ = session_.execute(std::string(line));
        take(last_status_);
        return goes_on_after(last_status_);
    }

    // The same of a line that cannot be run.
    bool refuse(const std::string &place) {
        const Place current(place);
        take(kExitUsage);
        return goes_on_after(kExitUsage);
    }

  private:
    bool goes_on_after(int status) const {
        if (session_.is_over() || status == kExitBrokenPipe) return false;
        if (is_typed_ || status == kExitComplete) return true;
        if (status == kExitInterrupted) return false;
        if (!session_.options().stop_on_error) return true;
        print_message("stopped after status %d (--stop-on-error)", status);
        return false;
    }

    Session &session_;
    bool is_typed_;
    int result_ = kExitComplete, last_status_ = kExitComplete;
};

// Some editors put this mark at the beginning of a file in UTF-8.
void drop_byte_order_mark(std::string &line) {
    constexpr std::string_view kMark = "\xef\xbb\xbf";
    if (line.starts_with(kMark)) line.erase(0, kMark.size());
}

// The next event, with the place in the message about a line that is refused.
LineReader::Event next_of(LineReader &reader, Session &session, std::string &line, const std::string &place) {
    const Place current(place);
    return reader.next(session.prompt(), line);
}

// An interruption between commands clears the line of a user who types, and ends a script. `name` is that of the
// script.
int run_lines(Session &session, LineReader &reader, bool is_typed, const std::string &name) {
    using Event = LineReader::Event;
    Runner runner(session, is_typed);
    std::string line;
    for (std::size_t number = 1;; ++number) {
        const std::string place = is_typed ? "" : name + std::to_string(number);
        const Event event = next_of(reader, session, line, place);
        if (event == Event::kEnd) return runner.result();
        if (number == 1) drop_byte_order_mark(line);
        if (event == Event::kInterruption) {
            if (!is_typed) {
                print_message("session interrupted");
                runner.take(kExitInterrupted);
                return runner.result();
            }
            std::fputs("\n", stderr);
        } else if (event == Event::kRefused) {
            if (!runner.refuse(place)) return runner.result();
        } else if (number == 1 && !is_typed && line.starts_with("#!")) {
            continue; // the program that an executable script names
        } else if (!runner.run(line, place)) {
            return runner.result();
        } else if (runner.was_interrupted()) {
            reader.drop_input();
        }
    }
}

// On a terminal that allows it, lines are edited.
std::unique_ptr<LineReader> reader_for_user(Session &session) {
    if (isatty(STDERR_FILENO) != 0) {
        auto editor = std::make_unique<Editor>([&session]() -> const sim::Switch & { return session.current(); },
                                               !session.options().no_history);
        if (editor->is_usable()) return editor;
    }
    return std::make_unique<Lines>(STDIN_FILENO);
}

int run_input(Session &session) {
    const bool is_typed = isatty(STDIN_FILENO) != 0;
    const std::unique_ptr<LineReader> reader =
        is_typed ? reader_for_user(session) : std::make_unique<Lines>(STDIN_FILENO);
    return run_lines(session, *reader, is_typed, "line ");
}

class ScriptFile {
  public:
    explicit ScriptFile(const std::string &path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0 || is_folder())
            throw CommandError("cannot read the script " + sim::printable(path) + ": " + std::strerror(errno));
    }
    ~ScriptFile() { close(descriptor_); }
    ScriptFile(const ScriptFile &) = delete;
    ScriptFile &operator=(const ScriptFile &) = delete;

    int descriptor() const { return descriptor_; }

  private:
    bool is_folder() const {
        struct stat status = {};
        const bool is_one = fstat(descriptor_, &status) == 0 && S_ISDIR(status.st_mode);
        if (is_one) errno = EISDIR;
        return is_one;
    }

    int descriptor_;
};

int run_script(Session &session, const std::string &path) {
    if (path == "-") return run_input(session);
    const ScriptFile file(path);
    Lines lines(file.descriptor());
    return run_lines(session, lines, false, sim::printable(path) + ":");
}

// Of several commands, messages name the one that they concern.
int run_given(Session &session, const std::vector<std::string> &commands) {
    Runner runner(session, false);
    for (std::size_t number = 1; number <= commands.size(); ++number) {
        const std::string place = commands.size() > 1 ? "command " + std::to_string(number) : "";
        if (!runner.run(commands[number - 1], place)) break;
    }
    return runner.result();
}

} // namespace

int run_commands(Session &session) {
    const Options &options = session.options();
    std::optional<Subject> vdc; // where the display of all VDCs started this shell
    if (std::getenv(kVariableOfPlace) != nullptr) vdc.emplace("VDC " + session.prompt());
    if (options.output && (options.commands.size() != 1 || !is_command(options.commands[0])))
        throw CommandError(options.commands.size() > 1 ? "--output needs exactly one command" : kNoOutput);
    if (options.record && (options.commands.size() != 1 || !is_command(options.commands[0])))
        throw CommandError(options.commands.size() > 1 ? "--record needs exactly one command" : kNoDisplay);
    if (!options.commands.empty()) return run_given(session, options.commands);
    return options.script ? run_script(session, *options.script) : run_input(session);
}

} // namespace shell
