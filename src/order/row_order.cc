// Each row's sweep is found once, by following its predecessors; a predecessor that is on the path already closes a
// loop.
#include "order/row_order.h"

#include <algorithm>
#include <ranges>

namespace qarn {

RowOrder::RowOrder(const Rows &rows)
    : rows_(rows), sweeps_(rows.count()), ordered_(rows.count()), path_(rows.count()) {}

bool RowOrder::order_all() {
    std::fill_n(sweeps_.begin(), rows_.count(), kUnknown);
    return order(std::views::iota(uint32_t{0}, rows_.count()), [](uint32_t) { return true; });
}

bool RowOrder::order_interfaces() {
    std::fill_n(sweeps_.begin(), rows_.count(), kUnknown);
    return order(std::views::iota(uint32_t{0}, rows_.count()),
                 [this](uint32_t row) { return rows_.is_interface(row); });
}

bool RowOrder::order_level(int32_t level) {
    const std::span<const uint32_t> candidates = rows_.of_level(level);
    for (const uint32_t row : candidates)
        sweeps_[row] = kUnknown;
    return order(candidates, [this, level](uint32_t row) { return rows_.level_of(row) == level; });
}

template <typename Candidates, typename Admits>
bool RowOrder::order(const Candidates &candidates, Admits admits) {
    count_ = 0;
    Sweep last = 0;
    bool is_complete = true;
    for (const uint32_t row : candidates) {
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
        const std::span<const uint32_t> predecessors = rows_.predecessors(step.row);
        bool waits = false;
        for (; step.next < predecessors.size(); ++step.next) {
            const uint32_t predecessor = predecessors[step.next];
            if (!admits(predecessor)) continue;
            const Sweep sweep = sweeps_[predecessor];
            if (sweep == kUnknown) {
                enter(predecessor);
                waits = true;
                break;
            }
            step.sweep = sweep >= kOpen ? kNever : std::max(step.sweep, sweep + (predecessor > step.row ? 1 : 0));
            if (step.sweep == kNever) break;
        }
        if (waits) continue;
        sweeps_[step.row] = step.sweep;
        --depth;
    }
}

// The rows of a sweep keep their order.
void RowOrder::sort_by_sweep(Sweep last) {
    const auto sweeps = static_cast<std::size_t>(last) + 1;
    Array<uint32_t> filled(sweeps + 1);
    std::fill_n(filled.begin(), sweeps + 1, 0);
    for (uint32_t i = 0; i < count_; ++i)
        ++filled[static_cast<std::size_t>(sweeps_[ordered_[i]]) + 1];
    for (std::size_t sweep = 0; sweep < sweeps; ++sweep)
        filled[sweep + 1] += filled[sweep];
    Array<uint32_t> sorted(rows_.count());
    for (uint32_t i = 0; i < count_; ++i)
        sorted[filled[static_cast<std::size_t>(sweeps_[ordered_[i]])]++] = ordered_[i];
    ordered_ = std::move(sorted);
}

} // namespace qarn
