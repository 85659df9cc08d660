#include "shell/output.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "shell/destination.h"
#include "shell/exit_code.h"
#include "shell/line.h"
#include "shell/session.h"
#include "shell/terminal.h"

namespace shell {
namespace {

constexpr std::size_t kBlock = 1 << 18; // what one read gets at most, unless a line is longer

// Reads a text in blocks of whole lines. A line may be of any length.
class Blocks {
  public:
    explicit Blocks(int input) : input_(input), text_(kBlock, '\0') {}

    // The lines that are complete after one more read; the last one at the end of the text may lack its newline.
    std::string_view next() {
        drop_last();
        if (end_ == text_.size()) text_.resize(2 * text_.size());
        const ssize_t got = read_some();
        has_ended_ = got <= 0;
        const std::size_t begin = end_;
        end_ += has_ended_ ? 0 : static_cast<std::size_t>(got);
        if (has_ended_) {
            passed_ = end_;
        } else if (const void *newline = memrchr(text_.data() + begin, '\n', end_ - begin)) {
            passed_ = static_cast<std::size_t>(static_cast<const char *>(newline) - text_.data()) + 1;
        }
        return {text_.data(), passed_};
    }

    bool has_ended() const { return has_ended_; }

  private:
    void drop_last() {
        if (passed_ == 0) return; // a long line is not moved
        std::memmove(text_.data(), text_.data() + passed_, end_ - passed_);
        end_ -= passed_;
        passed_ = 0;
    }

    ssize_t read_some() {
        ssize_t got = -1;
        do
            got = read(input_, text_.data() + end_, text_.size() - end_);
        while (got < 0 && errno == EINTR);
        return got;
    }

    int input_;
    std::string text_;
    std::size_t end_ = 0, passed_ = 0; // of what was read, and of the lines that next() returned
    bool has_ended_ = false;
};

std::unique_ptr<Destination> destination_of(const Output &output, int descriptor) {
    return output.has_pager ? paged_screen() : plain_destination(descriptor);
}

// What comes after the last line that counts is read all the same: the command must not find its output closed.
void pass_blocks(Blocks blocks, int input, Stage &first, Destination &destination) {
    bool is_finished = false;
    while (!blocks.has_ended() && !destination.is_over()) {
        if (!has_input(input)) {
            destination.wait(input);
            if (!has_input(input)) continue; // something else has happened
        }
        const std::string_view lines = blocks.next();
        if (!is_finished && !lines.empty()) first.take(lines);
        if (!is_finished && (blocks.has_ended() || first.is_full())) {
            first.finish();
            is_finished = true;
        }
    }
}

std::string_view value_of(const char *variable) {
    const char *const value = std::getenv(variable);
    return value != nullptr ? value : "";
}

bool is_dumb() {
    return value_of("TERM").empty() || value_of("TERM") == "dumb";
}

// Debug traces between the lines have no keywords.
bool has_colors(const Options &options, bool is_terminal) {
    if (options.color != "auto") return options.color == "always";
    return is_terminal && options.debug_mask == 0 && value_of("NO_COLOR").empty() && !is_dumb() && is_known_terminal();
}

// On a screen of a few characters a pager shows little more than its own prompt. A screen may not report its size.
bool is_tiny() {
    constexpr int kFewestRows = 3, kFewestColumns = 10;
    struct winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return false;
    return (size.ws_row != 0 && size.ws_row < kFewestRows) || (size.ws_col != 0 && size.ws_col < kFewestColumns);
}

// An empty $PAGER means none. Debug traces are to be seen at once, not when the screen is full.
bool is_paged(const Options &options) {
    const bool has_program = std::getenv("PAGER") == nullptr || !value_of("PAGER").empty();
    return isatty(STDIN_FILENO) != 0 && !options.no_pager && options.debug_mask == 0 && !is_dumb() && has_program &&
           !is_tiny();
}

// While the object lives, a write without a reader fails with EPIPE.
class BrokenPipesAsErrors {
  public:
    BrokenPipesAsErrors() : before_(signal(SIGPIPE, SIG_IGN)) {}
    ~BrokenPipesAsErrors() { signal(SIGPIPE, before_); }
    BrokenPipesAsErrors(const BrokenPipesAsErrors &) = delete;
    BrokenPipesAsErrors &operator=(const BrokenPipesAsErrors &) = delete;

  private:
    sighandler_t before_;
};

bool has_filter(const std::vector<Filter> &filters, FilterKind kind) {
    return std::ranges::find(filters, kind, &Filter::kind) != filters.end();
}

} // namespace

bool Output::has_work() const {
    return !filters.empty() || looks.has_colors || looks.shows_controls || has_pager;
}

Output output_of(const Line &line, const Options &options) {
    Output output;
    output.filters = line.filters;
    output.file = options.output;
    if (line.is_saved()) output.file = line.filters.back().file;
    if (output.file) return output;
    const bool is_terminal = isatty(STDOUT_FILENO) != 0;
    const bool is_configuration = !has_filter(line.filters, FilterKind::kCount) && !line.is_json();
    output.looks.has_colors = is_configuration && has_colors(options, is_terminal);
    output.looks.shows_controls = is_terminal;
    output.has_pager = is_terminal && is_paged(options) && !has_filter(line.filters, FilterKind::kNoMore);
    return output;
}

int pass_on(int input, const Output &output, int descriptor) {
    const BrokenPipesAsErrors errors;
    const std::unique_ptr<Destination> destination = destination_of(output, descriptor);
    const std::unique_ptr<Stage> looks = looks_before(*destination, output.looks);
    Stage &last = looks != nullptr ? *looks : *destination;
    const std::unique_ptr<Stage> filters = filter_before(last, output.filters, output.marks);
    Stage &first = filters != nullptr ? *filters : last;
    pass_blocks(Blocks(input), input, first, *destination);
    return destination->close();
}

} // namespace shell
