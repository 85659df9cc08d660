// What a text looks like on a terminal: colours, and nothing in it that would control the terminal.
#include <algorithm>
#include <string>

#include "shell/stages.h"
#include "sim/visible.h"

namespace shell {
namespace {

constexpr std::string_view kDim = "\x1b[2m", kBold = "\x1b[1m", kPlain = "\x1b[0m";

bool is_plain(std::string_view text) {
    bool is_plain = true;
    for (const char c : text)
        is_plain &= (c >= ' ' && c < 0x7f) || c == '\t';
    return is_plain;
}

class LooksStage : public Stage {
  public:
    LooksStage(Stage &next, const Looks &looks) : next_(next), looks_(looks) {}

    void take(std::string_view lines) override {
        shown_.clear();
        while (!lines.empty()) {
            std::string_view line = line_at(lines, 0);
            lines.remove_prefix(line.size());
            const bool has_newline = line.ends_with('\n');
            if (has_newline) line.remove_suffix(1);
            append(line);
            if (has_newline) shown_.append(1, '\n');
        }
        next_.take(shown_);
    }
    void finish() override { next_.finish(); }
    bool is_full() const override { return next_.is_full(); }

  private:
    void append(std::string_view line) {
        if (!looks_.shows_controls || is_plain(line)) return color(line);
        color(sim::visible(line, "\t"));
    }

    // Headers and comments are dim, the first word of a line without indentation is bold.
    void color(std::string_view line) {
        const std::size_t first = line.find_first_not_of(" \t");
        const bool is_comment = first != std::string_view::npos && line[first] == '!';
        if (!looks_.has_colors || (first != 0 && !is_comment)) {
            shown_.append(line);
        } else if (is_comment) {
            shown_.append(kDim).append(line).append(kPlain);
        } else {
            const std::size_t end = std::min(line.find(' '), line.size());
            shown_.append(kBold).append(line.substr(0, end)).append(kPlain).append(line.substr(end));
        }
    }

    Stage &next_;
    Looks looks_;
    std::string shown_;
};

} // namespace

std::unique_ptr<Stage> looks_before(Stage &next, const Looks &looks) {
    if (!looks.has_colors && !looks.shows_controls) return nullptr;
    return std::make_unique<LooksStage>(next, looks);
}

} // namespace shell
