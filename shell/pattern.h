// A regular expression that is searched for in lines, in time linear in their length.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace re2 {
class RE2;
}

namespace shell {

class Pattern {
  public:
    // Throws std::invalid_argument with the reason.
    explicit Pattern(std::string_view regex);
    ~Pattern();
    Pattern(const Pattern &) = delete;
    Pattern &operator=(const Pattern &) = delete;

    // Whether the expression may be searched for in many lines at once.
    bool spans_lines() const { return spans_lines_; }
    // The position of a match in a text of several lines, or npos.
    std::size_t find(std::string_view lines, std::size_t from) const;
    // Whether there is a match in a line, which ends before its newline.
    bool matches(std::string_view line) const;

  private:
    std::string literal_; // an expression without operators
    // In a line that is not UTF-8 each byte is a character.
    std::unique_ptr<re2::RE2> utf8_, latin1_;
    bool spans_lines_ = false;
};

// Goes through the lines in which a pattern matches. The lines must outlive the search.
class Search {
  public:
    Search(const Pattern &pattern, std::string_view lines);
    // The next line with a match, with its newline; empty at the end.
    std::string_view next();
    void go_on_at(std::size_t line) { at_ = line; }

  private:
    std::string_view next_of_each();

    const Pattern &pattern_;
    std::string_view lines_;
    std::size_t at_ = 0; // the beginning of a line
    bool is_at_once_;
};

// The line at a position, with its newline.
std::string_view line_at(std::string_view lines, std::size_t position);

bool is_utf8(std::string_view text);

} // namespace shell
