// What the ordering passes need of the elements, gathered once per command: one row for each element that may print, in
// ascending key order.
#pragma once

#include <qarncli/graph.h>

#include <cstdint>
#include <span>

#include "base/array.h"
#include "model/element_store.h"
#include "model/store_index.h"

namespace qarn {

// Lives during the output phase, when the elements no longer change. Every row has a vertex, which the queues hold. A
// conditional element whose condition is not satisfied has no row.
class Rows {
  public:
    explicit Rows(const StoreIndex &store);

    // False if memory ran out; then nothing else may be asked.
    bool ok() const { return ok_; }

    uint32_t count() const { return count_; }
    vertex *vertex_of(uint32_t row) const { return vertices_[row]; }
    const StoreEntry &entry_of(uint32_t row) const { return entries_[row]; }
    const qarn_elem &element_of(uint32_t row) const { return *elements_[row]; }
    bool is_interface(uint32_t row) const { return is_interface_[row]; }
    int32_t level_of(uint32_t row) const { return levels_[row]; } // kPrintLevels stands for every other level

    // The rows of a print level, ascending.
    std::span<const uint32_t> of_level(int32_t level) const;
    // The rows that the element waits for, each as often as the element names it.
    std::span<const uint32_t> predecessors(uint32_t row) const {
        const uint32_t *rows = predecessors_.begin();
        return {rows + first_predecessor_[row], rows + first_predecessor_[row + 1]};
    }

  private:
    static constexpr uint32_t kNoRow = UINT32_MAX;

    bool fill(const StoreIndex &store);
    bool add_row(const StoreEntry &entry, const StoreIndex &store);
    bool add_predecessors(const qarn_elem &elem, const StoreIndex &store);
    void turn_places_into_rows(const Array<uint32_t> &row_at_place);
    void group_by_level();

    uint32_t count_ = 0;
    graph graph_ = {}; // all vertices
    Array<vertex *> vertices_;
    Array<StoreEntry> entries_;
    Array<const qarn_elem *> elements_; // those of the entries, without the way through the value
    Array<bool> is_interface_;
    Array<uint8_t> levels_;
    Array<uint32_t> by_level_; // the rows of level 0, then those of level 1, and so on
    uint32_t first_of_level_[kPrintLevels + 2] = {};
    Array<uint32_t> first_predecessor_; // of each row, in predecessors_; and the end
    Numbers predecessors_;
    bool ok_;
};

} // namespace qarn
