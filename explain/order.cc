#include "explain/order.h"

#include <algorithm>
#include <deque>

namespace explain {
namespace {

// The sweeps of one level: a predecessor that comes later in the order of keys costs a sweep.
class LevelOrder {
  public:
    LevelOrder(const Elements &elements, uint32_t level) : elements_(elements), pass_{Pass::Kind::kLevel, level} {
        const std::size_t count = elements.all().size();
        sweeps_.resize(count);
        waiting_.resize(count);
        held_back_by_.resize(count);
        followers_.resize(count);
        for (std::size_t at = 0; at < count; ++at)
            if (elements.is_in(pass_, at)) add(at);
        for (; !free_.empty(); free_.pop_front())
            release_followers(free_.front());
    }

    std::optional<uint32_t> sweep_of(std::size_t at) const {
        return waiting_[at] == 0 && elements_.is_in(pass_, at) ? std::optional(sweeps_[at] + 1) : std::nullopt;
    }
    std::optional<std::size_t> held_back_by(std::size_t at) const { return held_back_by_[at]; }
    std::size_t count() const { return count_; }
    // From 1. An element comes before those of later sweeps, and those of its sweep with greater keys.
    std::size_t position_of(std::size_t at) const {
        std::size_t before = 0;
        for (std::size_t other = 0; other < sweeps_.size(); ++other)
            if (sweep_of(other) && (sweeps_[other] < sweeps_[at] || (sweeps_[other] == sweeps_[at] && other < at)))
                ++before;
        return before + 1;
    }

  private:
    void add(std::size_t at) {
        ++count_;
        for (const std::size_t before : elements_.predecessors(pass_, at)) {
            followers_[before].push_back(at);
            ++waiting_[at];
        }
        if (waiting_[at] == 0) free_.push_back(at);
    }

    void release_followers(std::size_t at) {
        for (const std::size_t follower : followers_[at]) {
            const uint32_t sweep = sweeps_[at] + (at > follower ? 1 : 0);
            if (sweep > sweeps_[follower] || !held_back_by_[follower]) held_back_by_[follower] = at;
            sweeps_[follower] = std::max(sweeps_[follower], sweep);
            if (--waiting_[follower] == 0) free_.push_back(follower);
        }
    }

    const Elements &elements_;
    const Pass pass_;
    std::size_t count_ = 0;
    std::vector<uint32_t> sweeps_, waiting_; // from 0; predecessors without a sweep
    std::vector<std::optional<std::size_t>> held_back_by_;
    std::vector<std::vector<std::size_t>> followers_;
    std::deque<std::size_t> free_;
};

Standing standing_of_order(const Elements &elements, const Element &element, std::size_t target) {
    if (!elements.takes_part(target)) return Standing::kLeftOut;
    const uint32_t level = elements.all()[target].level();
    return level == element.level()  ? Standing::kCounts
           : level < element.level() ? Standing::kLowerLevel
                                     : Standing::kHigherLevel;
}

Standing standing_of(const Elements &elements, const Element &element, const Dependency &dependency) {
    const bool is_order = dependency.type == QARN_DEP_ORDER, is_condition = dependency.type == QARN_DEP_CONDITIONAL;
    if (!is_order && !is_condition) return Standing::kOtherType;
    if (!dependency.target || elements.all()[*dependency.target].is_placeholder()) return Standing::kNobodySent;
    if (is_order) return standing_of_order(elements, element, *dependency.target);
    return elements.all()[*dependency.target].has_text() ? Standing::kMet : Standing::kNotMet;
}

} // namespace

Place find_place(const Elements &elements, std::size_t at) {
    const Element &element = elements.all()[at];
    const LevelOrder order(elements, element.level());
    Place place;
    place.is_printed = elements.takes_part(at) && !element.is_placeholder() && element.level() < kPrintLevels;
    place.sweep = order.sweep_of(at);
    place.count = order.count();
    if (place.sweep) place.position = order.position_of(at);
    place.held_back_by = order.held_back_by(at);
    for (const Dependency &dependency : element.dependencies)
        place.waits_for.push_back({at, dependency, standing_of(elements, element, dependency)});
    for (std::size_t other = 0; other < elements.all().size(); ++other)
        for (const Dependency &dependency : elements.all()[other].dependencies)
            if (dependency.on == element.key)
                place.awaited_by.push_back(
                    {other, dependency, standing_of(elements, elements.all()[other], dependency)});
    return place;
}

} // namespace explain
