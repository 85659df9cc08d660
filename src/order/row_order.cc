// Each row's sweep is found once, by following its predecessors; a predecessor that is on the path already closes a
// loop.
#include "order/row_order.h"

#include <algorithm>
#include <utility>

namespace qarn {

RowOrder::RowOrder(const Rows &rows)
    : rows_(rows),
      sweeps_(rows.count()),
      ordered_(rows.count()),
      sorted_(rows.count()),
      ends_(rows.count() + std::size_t{1}),
      path_(rows.count()) {}

bool RowOrder::order_all() {
    return order_every_row([](uint32_t) { return true; });
}

bool RowOrder::order_interfaces() {
    return order_every_row([this](uint32_t row) { return rows_.is_interface(row); });
}

bool RowOrder::order_level(int32_t level) {
    const std::span<const uint32_t> candidates = rows_.of_level(level);
    for (const uint32_t row : candidates)
        sweeps_[row] = kUnknown;
    return order(
        candidates.size(), [candidates](std::size_t at) { return candidates[at]; },
        [this, level](uint32_t row) { return rows_.level_of(row) == level; });
}

template <typename Admits>
bool RowOrder::order_every_row(Admits admits) {
    std::fill_n(sweeps_.begin(), rows_.count(), kUnknown);
    return order(
        rows_.count(), [](std::size_t at) { return static_cast<uint32_t>(at); }, admits);
}

// The candidates come in ascending order.
template <typename RowAt, typename Admits>
bool RowOrder::order(std::size_t candidates, RowAt row_at, Admits admits) {
    count_ = 0;
    Sweep last = 0;
    bool is_complete = true;
    for (std::size_t at = 0; at < candidates; ++at) {
        const uint32_t row = row_at(at);
        if (!admits(row)) continue;
        if (sweeps_[row] == kUnknown) find_sweep(row, admits);
        if (sweeps_[row] == kNever) {
            is_complete = false;
            continue;
        }
        last = std::max(last, sweeps_[row]);
        ordered_[count_++] = row;
    }
    if (last > 0) sort_by_sweep(last);
    return is_complete;
}

template <typename Admits>
void RowOrder::find_sweep(uint32_t row, Admits admits) {
    uint32_t depth = 0;
    const auto enter = [&](uint32_t entered) {
        path_[depth++] = {entered, 0, 0};
        sweeps_[entered] = kOpen;
    };
    enter(row);
    while (depth > 0) {
        Step &step = path_[depth - 1];
        if (const std::optional<uint32_t> unknown = count_in(step, admits)) {
            enter(*unknown);
        } else {
            sweeps_[step.row] = step.sweep;
            --depth;
        }
    }
}

template <typename Admits>
std::optional<uint32_t> RowOrder::count_in(Step &step, Admits admits) const {
    const std::span<const uint32_t> predecessors = rows_.predecessors(step.row);
    for (; step.next < predecessors.size() && step.sweep != kNever; ++step.next) {
        const uint32_t predecessor = predecessors[step.next];
        if (!admits(predecessor)) continue;
        const Sweep sweep = sweeps_[predecessor];
        if (sweep == kUnknown) return predecessor;
        step.sweep = sweep >= kOpen ? kNever : std::max(step.sweep, sweep + (predecessor > step.row ? 1 : 0));
    }
    return {};
}

uint32_t RowOrder::row_that_never_prints() const {
    uint32_t row = 0;
    while (sweeps_[row] != kNever)
        ++row;
    return row;
}

// A row waits for a loop because one of its predecessors does.
uint32_t RowOrder::next_that_never_prints(uint32_t row) const {
    const std::span<const uint32_t> predecessors = rows_.predecessors(row);
    return *std::ranges::find_if(predecessors, [this](uint32_t before) { return sweeps_[before] == kNever; });
}

// The rows of a sweep keep their order. There are no more sweeps than rows.
void RowOrder::sort_by_sweep(Sweep last) {
    const auto sweeps = static_cast<std::size_t>(last) + 1;
    std::fill_n(ends_.begin(), sweeps + 1, 0);
    for (uint32_t i = 0; i < count_; ++i)
        ++ends_[static_cast<std::size_t>(sweeps_[ordered_[i]]) + 1];
    for (std::size_t sweep = 0; sweep < sweeps; ++sweep)
        ends_[sweep + 1] += ends_[sweep];
    for (uint32_t i = 0; i < count_; ++i)
        sorted_[ends_[static_cast<std::size_t>(sweeps_[ordered_[i]])]++] = ordered_[i];
    std::swap(ordered_, sorted_);
}

} // namespace qarn
