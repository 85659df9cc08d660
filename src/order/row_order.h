// The print order of the rows of one pass, in the order of visit2's sweeps (sweep.cc), found from each row's
// predecessors without a graph.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "base/array.h"
#include "order/rows.h"

namespace qarn {

// A sweep walks the rows in ascending order and places every row that waits for no unplaced one. A row is placed in the
// same sweep as its predecessor when the predecessor comes first, else in the next sweep. So a row's sweep is the
// greatest, over its predecessors, of the predecessor's sweep, plus 1 where the predecessor comes later.
class RowOrder {
  public:
    explicit RowOrder(const Rows &rows);

    // False if memory ran out; then nothing may be ordered.
    bool ok() const { return sweeps_ && ordered_ && sorted_ && ends_ && path_; }

    // Order the rows of a pass. Afterwards ordered() holds them, but for those that wait for a loop. False if there are
    // such rows.
    bool order_all();
    bool order_interfaces();
    bool order_level(int32_t level);

    std::span<const uint32_t> ordered() const { return {ordered_.begin(), count_}; }

    // After a pass that failed: call `visit` with the rows of one loop, each of which waits for the next one.
    template <typename Visit>
    void for_each_of_loop(Visit visit) const {
        uint32_t row = row_that_never_prints();
        for (uint32_t steps = rows_.count(); steps > 0; --steps)
            row = next_that_never_prints(row); // leads into a loop, and once around at least
        const uint32_t first = row;
        do {
            visit(row);
            row = next_that_never_prints(row);
        } while (row != first);
    }

  private:
    using Sweep = int32_t;
    static constexpr Sweep kUnknown = -1;
    static constexpr Sweep kOpen = INT32_MAX - 1; // on the path that is being followed
    static constexpr Sweep kNever = INT32_MAX;    // waits for a loop

    // A row on the path, with its first predecessor whose sweep is not counted in yet.
    struct Step {
        uint32_t row, next;
        Sweep sweep;
    };

    uint32_t row_that_never_prints() const;
    uint32_t next_that_never_prints(uint32_t row) const;
    template <typename Admits>
    bool order_every_row(Admits admits);
    template <typename RowAt, typename Admits>
    bool order(std::size_t candidates, RowAt row_at, Admits admits);
    template <typename Admits>
    void find_sweep(uint32_t row, Admits admits);
    // Go on with the predecessors of a step, up to the first one whose sweep is unknown; returns that one.
    template <typename Admits>
    std::optional<uint32_t> count_in(Step &step, Admits admits) const;
    void sort_by_sweep(Sweep last);

    const Rows &rows_;
    Array<Sweep> sweeps_; // by row
    Array<uint32_t> ordered_;
    uint32_t count_ = 0;
    Array<uint32_t> sorted_, ends_; // while sorting: the new order; of each sweep, where the next row goes
    Array<Step> path_;
};

} // namespace qarn
