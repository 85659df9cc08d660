// Blocks are matched by their first lines. Of several blocks with the same first line, the n-th is matched with the
// n-th. The order of blocks is no difference.
#include "shell/diff.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace shell {
namespace {

using Lines = std::vector<std::string_view>;

struct Block {
    std::string_view head;
    Lines body;
    bool is_matched = false;
};

bool is_of_header(std::string_view line) {
    return line.empty() || line.starts_with("!Command: ") || line.starts_with("!Time: ") ||
           line.starts_with("!Startup config saved at: ");
}

// A startup configuration that is only a text has the header with which it was saved.
std::string_view without_header(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!is_of_header(line)) return text;
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return text;
}

std::vector<Block> blocks_of(std::string_view text) {
    std::vector<Block> blocks;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.empty()) continue;
        if ((line.starts_with(' ') || line.starts_with('\t')) && !blocks.empty()) {
            blocks.back().body.push_back(line);
        } else {
            blocks.push_back({line, {}});
        }
    }
    return blocks;
}

void append(std::string &text, const char *mark, std::string_view line) {
    text.append(mark).append(line).append(1, '\n');
}

void append_block(std::string &text, const char *mark, const Block &block) {
    append(text, mark, block.head);
    for (const std::string_view line : block.body)
        append(text, mark, line);
}

// The length of the longest common subsequence of the rests of two bodies, for each pair of positions.
class CommonLines {
  public:
    CommonLines(const Lines &before, const Lines &after)
        : width_(after.size() + 1), lengths_((before.size() + 1) * width_) {
        for (std::size_t i = before.size(); i-- > 0;)
            for (std::size_t j = after.size(); j-- > 0;)
                length(i, j) =
                    before[i] == after[j] ? length(i + 1, j + 1) + 1 : std::max(length(i + 1, j), length(i, j + 1));
    }
    std::size_t &length(std::size_t i, std::size_t j) { return lengths_[i * width_ + j]; }

  private:
    std::size_t width_;
    std::vector<std::size_t> lengths_;
};

void append_changes(std::string &text, const Lines &before, const Lines &after) {
    CommonLines common(before, after);
    std::size_t i = 0, j = 0;
    while (i < before.size() || j < after.size()) {
        if (i < before.size() && j < after.size() && before[i] == after[j]) {
            ++i;
            ++j;
        } else if (i < before.size() && (j == after.size() || common.length(i + 1, j) >= common.length(i, j + 1))) {
            append(text, "- ", before[i++]);
        } else {
            append(text, "+ ", after[j++]);
        }
    }
}

// A large body is replaced as a whole: the table of common lines has a row for each line.
void append_changed_block(std::string &text, const Block &before, const Block &after) {
    constexpr std::size_t kMostCells = 4'000'000;
    append(text, "  ", before.head);
    if (before.body.size() * after.body.size() <= kMostCells) return append_changes(text, before.body, after.body);
    for (const std::string_view line : before.body)
        append(text, "- ", line);
    for (const std::string_view line : after.body)
        append(text, "+ ", line);
}

class Comparison {
  public:
    Comparison(std::string_view before, std::string_view after)
        : before_(blocks_of(before)), after_(blocks_of(after)) {}

    std::string run() {
        match();
        for (std::size_t at = 0; at < after_.size(); ++at) {
            if (!partners_[at]) {
                append_removed_here();
                append_block(text_, "+ ", after_[at]);
                continue;
            }
            append_removed_up_to(*partners_[at] + 1);
            const Block &before = before_[*partners_[at]];
            if (before.body != after_[at].body) append_changed_block(text_, before, after_[at]);
        }
        append_removed_up_to(before_.size());
        return std::move(text_);
    }

  private:
    void match() {
        std::map<std::string_view, std::vector<std::size_t>> positions; // of heads, the next one last
        for (std::size_t at = before_.size(); at-- > 0;)
            positions[before_[at].head].push_back(at);
        for (const Block &block : after_) {
            const auto found = positions.find(block.head);
            std::optional<std::size_t> &partner = partners_.emplace_back();
            if (found == positions.end() || found->second.empty()) continue;
            partner = found->second.back();
            found->second.pop_back();
            before_[*partner].is_matched = true;
        }
    }

    // What was removed in the place of an addition comes before it.
    void append_removed_here() {
        while (removed_ < before_.size() && !before_[removed_].is_matched)
            append_block(text_, "- ", before_[removed_++]);
    }

    void append_removed_up_to(std::size_t end) {
        for (; removed_ < end; ++removed_)
            if (!before_[removed_].is_matched) append_block(text_, "- ", before_[removed_]);
    }

    std::vector<Block> before_, after_;
    std::vector<std::optional<std::size_t>> partners_; // of after_ in before_
    std::size_t removed_ = 0;                          // blocks of before_ whose removal has been shown
    std::string text_;
};

} // namespace

std::string difference_of(const std::string &before, const std::string &after) {
    return Comparison(without_header(before), without_header(after)).run();
}

} // namespace shell
