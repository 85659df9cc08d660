// The rows are made in one walk over the elements. The dependencies become row numbers after it, because an element may
// depend on another with a higher key.
#include "order/rows.h"

#include <qarncli/element.h>

#include <algorithm>
#include <utility>

#include "model/element_store.h"

namespace qarn {
namespace {

// The places of a store's entries in ascending key order: the key in the upper half of each number, the place in the
// lower half. Most services send their elements in this order.
class SortedPlaces {
  public:
    explicit SortedPlaces(const StoreIndex &store) : numbers_(store.num_places()) {
        if (!numbers_) return;
        for (uint32_t place = 0; place < store.num_places(); ++place) {
            const StoreEntry &entry = store.at(place);
            if (entry.value == nullptr) continue;
            const uint32_t key = uint32_t{entry.key->uuid} << 16 | entry.key->elem_id;
            numbers_[count_++] = uint64_t{key} << 32 | place;
        }
        std::sort(numbers_.begin(), numbers_.begin() + count_);
    }

    explicit operator bool() const { return static_cast<bool>(numbers_); }
    uint32_t count() const { return count_; }
    uint32_t operator[](uint32_t at) const { return static_cast<uint32_t>(numbers_[at]); }

  private:
    Array<uint64_t> numbers_;
    uint32_t count_ = 0;
};

bool may_print(const qarn_elem &elem) {
    return (elem.property & QARN_PROP_CONDITIONAL) == 0 || qarn_conditional_dependency_verify(&elem) != 0;
}

// The elements lie hundreds of bytes apart. So that the walk need not wait for each, the coming ones are fetched ahead:
// the entry's value, a little later the element, then its dependencies. Inlined always: GCC drops a call that only
// prefetches.
[[gnu::always_inline]] inline void read_ahead(const StoreIndex &store, const SortedPlaces &places, uint32_t at) {
    constexpr uint32_t kValues = 18, kElements = 12, kDependencies = 6;
    const auto value_at = [&](uint32_t i) { return store.at(places[i]).value; };
    if (at + kValues < places.count()) __builtin_prefetch(value_at(at + kValues));
    if (at + kElements < places.count()) {
        const qarn_elem *elem = value_at(at + kElements)->elem;
        __builtin_prefetch(elem);
        __builtin_prefetch(&elem->dep_list);
    }
    if (at + kDependencies < places.count()) __builtin_prefetch(value_at(at + kDependencies)->elem->dep_list);
}

} // namespace

Rows::Rows(const StoreIndex &store)
    : vertices_(store.num_places()),
      entries_(store.num_places()),
      elements_(store.num_places()),
      is_interface_(store.num_places()),
      levels_(store.num_places()),
      by_level_(store.num_places()),
      first_predecessor_(store.num_places() + 1),
      ok_(fill(store)) {}

bool Rows::fill(const StoreIndex &store) {
    const SortedPlaces places(store);
    Array<uint32_t> row_at_place(store.num_places());
    const bool has_room = places && row_at_place && vertices_ && entries_ && elements_ && is_interface_ && levels_ &&
                          by_level_ && first_predecessor_;
    if (!has_room) return false;
    std::fill_n(row_at_place.begin(), store.num_places(), kNoRow);
    for (uint32_t i = 0; i < places.count(); ++i) {
        read_ahead(store, places, i);
        const uint32_t row = count_;
        if (!add_row(store.at(places[i]), store)) return false;
        if (count_ > row) row_at_place[places[i]] = row;
    }
    first_predecessor_[count_] = predecessors_.count();
    turn_places_into_rows(row_at_place);
    group_by_level();
    return true;
}

bool Rows::add_row(const StoreEntry &entry, const StoreIndex &store) {
    const qarn_elem &elem = *entry.value->elem;
    entry.value->vertex = nullptr;
    if (!may_print(elem)) return true;
    vertex *added = add_vertex(&graph_, entry.key);
    if (added == nullptr) return false;
    entry.value->vertex = added;
    vertices_[count_] = added;
    entries_[count_] = entry;
    elements_[count_] = &elem;
    is_interface_[count_] = (elem.property & QARN_PROP_INTF) != 0;
    levels_[count_] = static_cast<uint8_t>(std::min(elem.level, uint32_t{kPrintLevels}));
    first_predecessor_[count_] = predecessors_.count();
    ++count_;
    return add_predecessors(elem, store);
}

// What comes before the row is noted by its place in the store, because its own row may not be there yet.
bool Rows::add_predecessors(const qarn_elem &elem, const StoreIndex &store) {
    for (const auto *dep = elem.dep_list; dep != nullptr; dep = dep->next) {
        if (dep->dep_type != QARN_DEP_ORDER) continue;
        const uint32_t place = store.place_of(store_key(dep->uuid, dep->elem_id));
        if (place != StoreIndex::kNoPlace && !predecessors_.append(place)) return false;
    }
    return true;
}

// A place without a row drops out.
void Rows::turn_places_into_rows(const Array<uint32_t> &row_at_place) {
    uint32_t *const numbers = predecessors_.begin();
    uint32_t kept = 0;
    for (uint32_t row = 0; row < count_; ++row) {
        const uint32_t begin = std::exchange(first_predecessor_[row], kept);
        for (uint32_t i = begin; i < first_predecessor_[row + 1]; ++i) {
            const uint32_t predecessor = row_at_place[numbers[i]];
            if (predecessor != kNoRow) numbers[kept++] = predecessor;
        }
    }
    first_predecessor_[count_] = kept;
}

void Rows::group_by_level() {
    for (uint32_t row = 0; row < count_; ++row)
        ++first_of_level_[levels_[row] + 1];
    uint32_t filled[kPrintLevels + 1] = {};
    for (int32_t level = 0; level <= kPrintLevels; ++level) {
        first_of_level_[level + 1] += first_of_level_[level];
        filled[level] = first_of_level_[level];
    }
    for (uint32_t row = 0; row < count_; ++row)
        by_level_[filled[levels_[row]]++] = row;
}

std::span<const uint32_t> Rows::of_level(int32_t level) const {
    const uint32_t *rows = by_level_.begin();
    return {rows + first_of_level_[level], rows + first_of_level_[level + 1]};
}

} // namespace qarn
