// A search in many lines at once saves a call for each line. It gives the same lines, because no part of an expression
// matches a newline, and ^ and $ match at each.
#include "shell/pattern.h"

#include <glib.h>
#include <re2/re2.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "sim/notation.h"

namespace shell {
namespace {

using re2::RE2;
using re2::StringPiece;

bool is_literal(std::string_view regex) {
    return !regex.empty() && regex.find_first_of("\\^$.|?*+()[]{}") == std::string_view::npos;
}

// Whether the expression switches a flag off, such as that for ^ and $ at newlines.
bool clears_flags(std::string_view regex) {
    for (std::size_t at = regex.find("(?"); at != std::string_view::npos; at = regex.find("(?", at + 2)) {
        const std::string_view flags = regex.substr(at, regex.find_first_of(":)", at) - at);
        if (flags.find('-') != std::string_view::npos) return true;
    }
    return false;
}

// Whether ^ and $ are the only places where the expression notices the ends of a line.
bool may_span_lines(std::string_view regex) {
    for (const char *const mark : {"\\A", "\\z", "\\C"})
        if (regex.find(mark) != std::string_view::npos) return false;
    return !clears_flags(regex);
}

// "missing ): (a" becomes "missing ) in "(a"", which a terminal can show.
std::string reason_of(const RE2 &re) {
    const std::string &argument = re.error_arg();
    const std::size_t end = re.error().rfind(": " + argument);
    if (argument.empty() || end == std::string::npos) return re.error();
    return re.error().substr(0, end) + " in " + sim::quoted(argument);
}

std::unique_ptr<RE2> compiled(const std::string &regex, RE2::Options::Encoding encoding) {
    RE2::Options options;
    options.set_encoding(encoding);
    options.set_log_errors(false);
    options.set_never_nl(true);
    const RE2 as_given(regex, options); // whose error does not mention the flag
    if (!as_given.ok()) throw std::invalid_argument(reason_of(as_given));
    return std::make_unique<RE2>("(?m)" + regex, options);
}

bool is_ascii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

std::string_view without_newline(std::string_view line) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    return line;
}

} // namespace

bool is_utf8(std::string_view text) {
    return is_ascii(text) || g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0;
}

std::string_view line_at(std::string_view lines, std::size_t position) {
    const std::size_t begin = position == 0 ? 0 : lines.rfind('\n', position - 1) + 1;
    const std::size_t end = std::min(lines.find('\n', position), lines.size() - 1) + 1;
    return lines.substr(begin, end - begin);
}

Pattern::Pattern(std::string_view regex) {
    if (is_literal(regex)) {
        literal_ = regex;
        spans_lines_ = true;
        return;
    }
    latin1_ = compiled(std::string(regex), RE2::Options::EncodingLatin1);
    if (is_utf8(regex)) utf8_ = compiled(std::string(regex), RE2::Options::EncodingUTF8);
    spans_lines_ = utf8_ != nullptr && may_span_lines(regex);
}

Pattern::~Pattern() = default;

std::size_t Pattern::find(std::string_view lines, std::size_t from) const {
    if (literal_.empty()) {
        StringPiece found;
        const bool is_found =
            utf8_->Match({lines.data(), lines.size()}, from, lines.size(), RE2::UNANCHORED, &found, 1);
        return is_found ? static_cast<std::size_t>(found.data() - lines.data()) : std::string_view::npos;
    }
    const char *const found =
        static_cast<const char *>(memmem(lines.data() + from, lines.size() - from, literal_.data(), literal_.size()));
    return found != nullptr ? static_cast<std::size_t>(found - lines.data()) : std::string_view::npos;
}

bool Pattern::matches(std::string_view line) const {
    if (!literal_.empty()) return memmem(line.data(), line.size(), literal_.data(), literal_.size()) != nullptr;
    const RE2 &re = utf8_ != nullptr && is_utf8(line) ? *utf8_ : *latin1_;
    return re.Match({line.data(), line.size()}, 0, line.size(), RE2::UNANCHORED, nullptr, 0);
}

Search::Search(const Pattern &pattern, std::string_view lines)
    : pattern_(pattern), lines_(lines), is_at_once_(pattern.spans_lines() && is_utf8(lines)) {}

std::string_view Search::next() {
    if (at_ >= lines_.size()) return {};
    if (!is_at_once_) return next_of_each();
    // After the last newline there is no line, so nothing may match there.
    const std::size_t found = pattern_.find(without_newline(lines_), at_);
    const std::string_view line = found != std::string_view::npos ? line_at(lines_, found) : std::string_view();
    at_ = line.empty() ? lines_.size() : static_cast<std::size_t>(line.data() - lines_.data()) + line.size();
    return line;
}

std::string_view Search::next_of_each() {
    while (at_ < lines_.size()) {
        const std::string_view line = line_at(lines_, at_);
        at_ += line.size();
        if (pattern_.matches(without_newline(line))) return line;
    }
    return {};
}

} // namespace shell
