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
    // The elements with a sweep: an element comes before those of later sweeps, and those of its sweep with greater
    // keys.
    std::vector<std::size_t> in_order() const {
        std::vector<std::size_t> ordered;
        for (std::size_t at = 0; at < sweeps_.size(); ++at)
            if (sweep_of(at)) ordered.push_back(at);
        std::ranges::stable_sort(ordered, {}, [this](std::size_t at) { return sweeps_[at]; });
        return ordered;
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

std::vector<Judged> judged_dependencies(const Elements &elements, std::size_t at) {
    std::vector<Judged> judged;
    const Element &element = elements.all()[at];
    for (const Dependency &dependency : element.dependencies)
        judged.push_back({at, dependency, standing_of(elements, element, dependency)});
    return judged;
}

Place place_of(const Elements &elements, std::size_t at) {
    const Element &element = elements.all()[at];
    Place place;
    place.is_printed = elements.takes_part(at) && !element.is_placeholder() && element.level() < kPrintLevels;
    place.waits_for = judged_dependencies(elements, at);
    return place;
}

void add_sweep(const LevelOrder &order, std::size_t at, Place &place) {
    place.sweep = order.sweep_of(at);
    place.count = order.count();
    place.held_back_by = order.held_back_by(at);
}

} // namespace

const char *text_of(Standing standing) {
    switch (standing) {
        case Standing::kCounts:
            return "";
        case Standing::kMet:
            return "it has text";
        case Standing::kNotMet:
            return "it has no text";
        case Standing::kNobodySent:
            return "counts for nothing, because no service has sent it";
        case Standing::kLowerLevel:
            return "holds in any case, because lower levels are printed first";
        case Standing::kHigherLevel:
            return "does not count for its own text, because higher levels are printed later; it orders the texts of "
                   "interfaces and keys only";
        case Standing::kLeftOut:
            return "counts for nothing, because that one is left out";
        case Standing::kOtherType:
            return "counts for nothing, because the library does not know this kind of dependency";
    }
    return "";
}

Place find_place(const Elements &elements, std::size_t at) {
    const LevelOrder order(elements, elements.all()[at].level());
    Place place = place_of(elements, at);
    add_sweep(order, at, place);
    const std::vector<std::size_t> ordered = order.in_order();
    if (place.sweep) place.position = static_cast<std::size_t>(std::ranges::find(ordered, at) - ordered.begin()) + 1;
    for (std::size_t other = 0; other < elements.all().size(); ++other)
        for (const Judged &judged : judged_dependencies(elements, other))
            if (judged.dependency.on == elements.all()[at].key) place.awaited_by.push_back(judged);
    return place;
}

std::vector<Place> find_places(const Elements &elements) {
    std::vector<Place> places;
    places.reserve(elements.all().size());
    for (std::size_t at = 0; at < elements.all().size(); ++at)
        places.push_back(place_of(elements, at));
    for (const Place &place : places)
        for (const Judged &judged : place.waits_for)
            if (judged.dependency.target) places[*judged.dependency.target].awaited_by.push_back(judged);
    for (uint32_t level = 0; level < kPrintLevels; ++level) {
        const LevelOrder order(elements, level);
        std::size_t position = 0;
        for (std::size_t at = 0; at < places.size(); ++at)
            if (elements.is_in({Pass::Kind::kLevel, level}, at)) add_sweep(order, at, places[at]);
        for (const std::size_t at : order.in_order())
            places[at].position = ++position;
    }
    return places;
}

} // namespace explain
