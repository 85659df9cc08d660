// What a text looks like on a terminal: colours, and nothing in it that would control the terminal.
#include <algorithm>
#include <string>

#include "shell/stages.h"

namespace shell {
namespace {

constexpr std::string_view kDim = "\x1b[2m", kBold = "\x1b[1m", kPlain = "\x1b[0m";

// The length of the character of UTF-8 at the beginning, or 0 if there is none.
std::size_t length_of_character(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    return length != 0 && text.size() >= length && is_utf8(text.substr(0, length)) ? length : 0;
}

// The control characters from 0x80 on; in UTF-8 they have the lead byte 0xc2.
bool is_high_control(unsigned char c) {
    return c >= 0x80 && c < 0xa0;
}

void append_in_hex(std::string &text, unsigned char c) {
    constexpr char kDigits[] = "0123456789abcdef";
    text.append("\\x").append(1, kDigits[c >> 4]).append(1, kDigits[c & 15]);
}

void append_shown(std::string &shown, std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]), last = static_cast<unsigned char>(character.back());
    if (character.size() == 1 && (first < ' ' || first == 0x7f) && first != '\t') {
        shown.append(1, '^').append(1, static_cast<char>(first ^ 0x40));
    } else if (is_high_control(last) && (character.size() == 1 || (character.size() == 2 && first == 0xc2))) {
        append_in_hex(shown, last);
    } else {
        shown.append(character);
    }
}

bool is_plain(std::string_view text) {
    bool is_plain = true;
    for (const char c : text)
        is_plain &= (c >= ' ' && c < 0x7f) || c == '\t';
    return is_plain;
}

std::string with_controls_shown(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(length_of_character(text), 1);
        append_shown(shown, text.substr(0, length));
        text.remove_prefix(length);
    }
    return shown;
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
        color(with_controls_shown(line));
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
