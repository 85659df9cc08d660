#include "shell/header.h"

#include <algorithm>
#include <cstdint>

namespace shell {
namespace {

constexpr std::string_view kCommand = "!Command: ";

// The line at the front of the text, with its newline.
std::string_view first_line(std::string_view text) {
    return text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
}

bool follows_command(std::string_view line) {
    return line.starts_with("!Time: ") || line.starts_with("!Startup config saved at: ");
}

// Blank lines go with a header only at the beginning of the text.
class WithoutHeader : public Stage {
  public:
    explicit WithoutHeader(Stage &next) : next_(next) {}

    void take(std::string_view lines) override {
        while (state_ != State::kAfter && !lines.empty()) {
            const std::string_view line = first_line(lines);
            lines.remove_prefix(line.size());
            take_line(line);
        }
        if (!lines.empty()) next_.take(lines);
    }
    void finish() override { next_.finish(); }
    bool is_full() const override { return next_.is_full(); }

  private:
    enum class State : uint8_t { kBefore, kWithin, kAfter };

    void take_line(std::string_view line) {
        if (state_ == State::kBefore && line.starts_with(kCommand)) {
            state_ = State::kWithin;
        } else if (state_ == State::kWithin && !follows_command(line) && !is_dropped_blank(line)) {
            state_ = State::kAfter;
        }
        const bool is_dropped = state_ == State::kWithin || is_dropped_blank(line);
        if (is_dropped) return;
        is_at_beginning_ = false;
        next_.take(line);
    }

    bool is_dropped_blank(std::string_view line) const { return is_at_beginning_ && line == "\n"; }

    Stage &next_;
    State state_ = State::kBefore;
    bool is_at_beginning_ = true;
};

} // namespace

WithHeader divide(std::string_view text) {
    std::string_view rest = text;
    while (!rest.empty() && !rest.starts_with(kCommand))
        rest.remove_prefix(first_line(rest).size());
    if (rest.empty()) return {"", text};
    const std::string_view before = text.substr(0, text.size() - rest.size());
    rest.remove_prefix(first_line(rest).size());
    while (!rest.empty() && follows_command(rest))
        rest.remove_prefix(first_line(rest).size());
    return {before, rest};
}

std::string without_headers(std::string_view text) {
    std::string kept;
    for (WithHeader parts = divide(text);; parts = divide(text)) {
        if (parts.configuration.size() == text.size()) return kept.append(text);
        kept.append(parts.messages);
        text = parts.configuration;
    }
}

std::unique_ptr<Stage> without_header_before(Stage &next) {
    return std::make_unique<WithoutHeader>(next);
}

} // namespace shell
