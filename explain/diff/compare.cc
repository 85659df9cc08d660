// Parts are matched by service, element and block. A part has moved if it is not in a longest sequence of parts that
// both displays print in the same order. What stands under VLANs never moves: VLANs are printed by their ids, in groups
// that change, and the texts of a VLAN by themselves.
#include "explain/diff/compare.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>

namespace explain {
namespace {

using Kind = Change::Kind;
using Texts = std::vector<std::string>;

Texts lines_of(const std::string &text) {
    Texts lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// For each value, its position in a longest ascending sequence of them; 0: it is in none.
std::vector<bool> longest_ascending(const std::vector<std::size_t> &values) {
    std::vector<std::size_t> ends, previous(values.size(), values.size()); // positions; ends by length
    for (std::size_t at = 0; at < values.size(); ++at) {
        const auto place = std::ranges::lower_bound(ends, values[at], {}, [&](std::size_t i) { return values[i]; });
        if (place != ends.begin()) previous[at] = *(place - 1);
        if (place == ends.end()) {
            ends.push_back(at);
        } else {
            *place = at;
        }
    }
    std::vector<bool> is_in(values.size(), false);
    for (std::size_t at = ends.empty() ? values.size() : ends.back(); at < values.size(); at = previous[at])
        is_in[at] = true;
    return is_in;
}

// Which lines of `before` and `now` are in a longest common sequence of them. Of very long texts, only what both begin
// and end with counts.
class CommonLines {
  public:
    CommonLines(const Texts &before, const Texts &now) : before_(before), now_(now) {
        while (head_ < std::min(before.size(), now.size()) && before[head_] == now[head_])
            ++head_;
        while (tail_ < std::min(before.size(), now.size()) - head_ &&
               before[before.size() - 1 - tail_] == now[now.size() - 1 - tail_])
            ++tail_;
    }

    Texts marked() {
        const std::size_t rows = before_.size() - head_ - tail_, columns = now_.size() - head_ - tail_;
        if (rows * columns > kLargest) return all_marked();
        measure(rows, columns);
        Texts lines;
        std::size_t row = 0, column = 0;
        while (row < rows || column < columns) {
            if (row < rows && column < columns && before_[head_ + row] == now_[head_ + column]) {
                ++row;
                ++column;
            } else if (row < rows && (column == columns || length(row + 1, column) >= length(row, column + 1))) {
                lines.push_back("- " + before_[head_ + row++]);
            } else {
                lines.push_back("+ " + now_[head_ + column++]);
            }
        }
        return lines;
    }

  private:
    static constexpr std::size_t kLargest = 4'000'000;

    Texts all_marked() const {
        Texts lines;
        for (std::size_t at = head_; at < before_.size() - tail_; ++at)
            lines.push_back("- " + before_[at]);
        for (std::size_t at = head_; at < now_.size() - tail_; ++at)
            lines.push_back("+ " + now_[at]);
        return lines;
    }

    // The length of the longest common sequence of the lines from `row` and from `column` on.
    std::size_t &length(std::size_t row, std::size_t column) { return lengths_[row * width_ + column]; }

    void measure(std::size_t rows, std::size_t columns) {
        width_ = columns + 1;
        lengths_.assign((rows + 1) * width_, 0);
        for (std::size_t row = rows; row-- > 0;)
            for (std::size_t column = columns; column-- > 0;)
                length(row, column) = before_[head_ + row] == now_[head_ + column]
                                          ? length(row + 1, column + 1) + 1
                                          : std::max(length(row + 1, column), length(row, column + 1));
    }

    const Texts &before_, &now_;
    std::size_t head_ = 0, tail_ = 0, width_ = 0;
    std::vector<std::size_t> lengths_;
};

using Place = std::tuple<std::string_view, std::string_view, std::string_view>;

Place place_of(const Part &part) {
    return {part.service, part.element, part.block};
}

std::string name_of(const Part &part) {
    std::string name = part.service;
    if (!part.element.empty()) name.append(" ").append(part.element);
    if (!part.block.empty()) name.append(" under ").append(part.block);
    return name;
}

// The parts of a display that can move, in their order.
class Sequence {
  public:
    explicit Sequence(const std::vector<Part> &parts) {
        for (const Part &part : parts) {
            if (part.block.starts_with("vlan ")) continue;
            positions_.emplace(place_of(part), parts_.size());
            parts_.push_back(&part);
        }
    }

    const std::vector<const Part *> &parts() const { return parts_; }
    const std::size_t *find(const Part &part) const {
        const auto found = positions_.find(place_of(part));
        return found != positions_.end() ? &found->second : nullptr;
    }
    std::string before(std::size_t at) const { return at > 0 ? name_of(*parts_[at - 1]) : ""; }

  private:
    std::vector<const Part *> parts_;
    std::map<Place, std::size_t> positions_;
};

class Comparison {
  public:
    Comparison(const std::vector<Part> &before, const std::vector<Part> &now) : before_(before), now_(now) {}

    std::vector<Change> run() {
        note_services(before_);
        note_services(now_);
        compare_parts();
        find_moved();
        std::ranges::stable_sort(changes_, {}, [this](const Change &one) { return services_.at(one.service); });
        return std::move(changes_);
    }

  private:
    void note_services(const std::vector<Part> &parts) {
        for (const Part &part : parts)
            services_.emplace(part.service, services_.size());
    }

    void note(Kind kind, const Part &part, Texts lines) {
        changes_.push_back({kind, part.service, part.element, part.block, std::move(lines), {}, {}});
    }

    void compare_parts() {
        std::map<Place, const Part *> now;
        for (const Part &part : now_)
            now.emplace(place_of(part), &part);
        for (const Part &part : before_) {
            const auto found = now.find(place_of(part));
            const Texts lines = lines_of(part.text);
            if (found == now.end()) {
                note(Kind::kRemoved, part, CommonLines(lines, {}).marked());
            } else {
                if (found->second->text != part.text)
                    note(Kind::kChanged, part, CommonLines(lines, lines_of(found->second->text)).marked());
                now.erase(found);
            }
        }
        for (const Part &part : now_)
            if (now.contains(place_of(part))) note(Kind::kAdded, part, CommonLines({}, lines_of(part.text)).marked());
    }

    void find_moved() {
        const Sequence before(before_), now(now_);
        std::vector<std::size_t> places, places_before; // of the parts that both have
        for (std::size_t at = 0; at < now.parts().size(); ++at) {
            const std::size_t *place = before.find(*now.parts()[at]);
            if (place == nullptr) continue;
            places.push_back(at);
            places_before.push_back(*place);
        }
        const std::vector<bool> stays = longest_ascending(places_before);
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (stays[i]) continue;
            const Part &part = *now.parts()[places[i]];
            changes_.push_back({Kind::kMoved,
                                part.service,
                                part.element,
                                part.block,
                                {},
                                before.before(places_before[i]),
                                now.before(places[i])});
        }
    }

    const std::vector<Part> &before_, &now_;
    std::map<std::string, std::size_t> services_; // in the order in which they appear
    std::vector<Change> changes_;
};

} // namespace

const char *name_of(Change::Kind kind) {
    switch (kind) {
        case Kind::kAdded:
            return "added";
        case Kind::kRemoved:
            return "removed";
        case Kind::kChanged:
            return "changed";
        case Kind::kMoved:
            return "moved";
    }
    return "";
}

std::vector<Change> compare(const std::vector<Part> &before, const std::vector<Part> &now) {
    return Comparison(before, now).run();
}

} // namespace explain
