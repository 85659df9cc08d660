#include <algorithm>
#include <string>
#include <utility>

#include "shell/stages.h"

namespace shell {
namespace {

// Owns the stages that follow, except the last one.
class FilterStage : public Stage {
  public:
    FilterStage(std::unique_ptr<Stage> owned, Stage &next) : next_(next), owned_(std::move(owned)) {}
    void finish() override { next_.finish(); }
    bool is_full() const override { return next_.is_full(); }

  protected:
    Stage &next_;

  private:
    std::unique_ptr<Stage> owned_;
};

class RegexStage : public FilterStage {
  public:
    RegexStage(std::unique_ptr<Stage> owned, Stage &next, const Pattern &pattern)
        : FilterStage(std::move(owned), next), pattern_(pattern) {}

  protected:
    const Pattern &pattern_;
};

// Collects lines that follow each other, to pass them on together.
class Run {
  public:
    explicit Run(Stage &next) : next_(next) {}
    ~Run() { pass(); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    void add(std::string_view lines) {
        if (lines.data() != lines_.data() + lines_.size()) {
            pass();
            lines_ = {lines.data(), 0};
        }
        lines_ = {lines_.data(), lines_.size() + lines.size()};
    }

  private:
    void pass() {
        if (!lines_.empty()) next_.take(lines_);
    }

    Stage &next_;
    std::string_view lines_;
};

class Include : public RegexStage {
  public:
    using RegexStage::RegexStage;
    void take(std::string_view lines) override {
        Run run(next_);
        Search search(pattern_, lines);
        for (std::string_view line = search.next(); !line.empty(); line = search.next())
            run.add(line);
    }
};

class Exclude : public RegexStage {
  public:
    using RegexStage::RegexStage;
    void take(std::string_view lines) override {
        Search search(pattern_, lines);
        const char *kept = lines.data();
        for (std::string_view line = search.next(); !line.empty(); line = search.next()) {
            pass(kept, line.data());
            kept = line.data() + line.size();
        }
        pass(kept, lines.data() + lines.size());
    }

  private:
    void pass(const char *begin, const char *end) {
        if (begin != end) next_.take({begin, end});
    }
};

class Begin : public RegexStage {
  public:
    using RegexStage::RegexStage;
    void take(std::string_view lines) override {
        if (!has_begun_) {
            const std::string_view first = Search(pattern_, lines).next();
            if (first.empty()) return;
            has_begun_ = true;
            lines = {first.data(), lines.data() + lines.size()};
        }
        next_.take(lines);
    }

  private:
    bool has_begun_ = false;
};

// Where the blocks of a text begin and end.
class Blocks {
  public:
    explicit Blocks(std::size_t marks) : marks_(marks) {}

    // Whether a block begins with the line at a position.
    bool begins_at(std::string_view lines, std::size_t line) const {
        const char first = first_of(lines, line);
        return first != ' ' && first != '\t' && first != '\n';
    }

    // The end of the block that goes on at a position: the next block, or the empty lines before it.
    std::size_t end_after(std::string_view lines, std::size_t from) const {
        std::size_t empty = std::string_view::npos;
        for (std::size_t at = lines.find('\n', from); at != std::string_view::npos; at = lines.find('\n', at + 1)) {
            const std::size_t line = at + 1;
            if (line == lines.size() || begins_at(lines, line)) return std::min(empty, line);
            if (first_of(lines, line) != '\n') empty = std::string_view::npos;
            if (first_of(lines, line) == '\n') empty = std::min(empty, line);
        }
        return lines.size();
    }

    // The beginning of the block with the line that begins at `line`.
    std::size_t begin_before(std::string_view lines, std::size_t line) const {
        while (line > 0 && !begins_at(lines, line))
            line = line < 2 ? 0 : lines.rfind('\n', line - 2) + 1;
        return line;
    }

  private:
    char first_of(std::string_view lines, std::size_t line) const {
        return line + marks_ < lines.size() ? lines[line + marks_] : '\n';
    }

    std::size_t marks_;
};

// Holds back the last block, which may go on.
class Section : public RegexStage {
  public:
    Section(std::unique_ptr<Stage> owned, Stage &next, const Pattern &pattern, std::size_t marks)
        : RegexStage(std::move(owned), next, pattern), blocks_(marks) {}
    void take(std::string_view lines) override {
        const std::string_view last_line = line_at(lines, lines.size() - 1);
        const std::size_t last = blocks_.begin_before(lines, lines.size() - last_line.size());
        if (last > 0 || blocks_.begins_at(lines, 0)) {
            const std::size_t ended = blocks_.begins_at(lines, 0) ? 0 : blocks_.end_after(lines, 0);
            held_.append(lines.substr(0, ended));
            select(held_);
            select(lines.substr(ended, last - ended));
            held_.clear();
            lines.remove_prefix(last);
        }
        held_.append(lines);
    }
    void finish() override {
        select(held_);
        next_.finish();
    }

  private:
    void select(std::string_view text) {
        Run run(next_);
        Search search(pattern_, text);
        for (std::string_view line = search.next(); !line.empty(); line = search.next()) {
            const auto at = static_cast<std::size_t>(line.data() - text.data());
            const std::size_t begin = blocks_.begin_before(text, at), end = blocks_.end_after(text, at);
            run.add(text.substr(begin, end - begin));
            search.go_on_at(end);
        }
    }

    Blocks blocks_;
    std::string held_;
};

class Count : public FilterStage {
  public:
    using FilterStage::FilterStage;
    void take(std::string_view lines) override {
        count_ += static_cast<std::size_t>(std::ranges::count(lines, '\n')) + (lines.ends_with('\n') ? 0 : 1);
    }
    void finish() override {
        next_.take(std::to_string(count_) + '\n');
        next_.finish();
    }
    bool is_full() const override { return false; }

  private:
    std::size_t count_ = 0;
};

class Head : public FilterStage {
  public:
    Head(std::unique_ptr<Stage> owned, Stage &next, std::size_t count)
        : FilterStage(std::move(owned), next), left_(count) {}
    void take(std::string_view lines) override {
        std::size_t end = 0;
        for (; left_ > 0 && end < lines.size(); --left_)
            end = std::min(lines.find('\n', end), lines.size() - 1) + 1;
        if (end > 0) next_.take(lines.substr(0, end));
    }
    bool is_full() const override { return left_ == 0 || FilterStage::is_full(); }

  private:
    std::size_t left_;
};

std::unique_ptr<Stage> stage_of(const Filter &filter, std::unique_ptr<Stage> owned, Stage &next, std::size_t marks) {
    switch (filter.kind) {
        case FilterKind::kInclude:
            return std::make_unique<Include>(std::move(owned), next, *filter.pattern);
        case FilterKind::kExclude:
            return std::make_unique<Exclude>(std::move(owned), next, *filter.pattern);
        case FilterKind::kBegin:
            return std::make_unique<Begin>(std::move(owned), next, *filter.pattern);
        case FilterKind::kSection:
            return std::make_unique<Section>(std::move(owned), next, *filter.pattern, marks);
        case FilterKind::kCount:
            return std::make_unique<Count>(std::move(owned), next);
        case FilterKind::kHead:
            return std::make_unique<Head>(std::move(owned), next, filter.count);
        default:
            return owned; // it concerns the destination
    }
}

} // namespace

std::unique_ptr<Stage> filter_before(Stage &next, std::span<const Filter> filters, std::size_t marks) {
    std::unique_ptr<Stage> first;
    for (std::size_t i = filters.size(); i > 0; --i) {
        Stage &following = first != nullptr ? *first : next;
        first = stage_of(filters[i - 1], std::move(first), following, marks);
    }
    return first;
}

} // namespace shell
