// The entries of the element store as the ordering passes walk them: all of them, and those of one print level.
#pragma once

#include <glib.h>

#include <cstdint>

namespace qarn {

constexpr int32_t kPrintLevels = 13; // 0..12; elements of any other level are never printed

// Lives during the output phase of one generation, while the store stands still. The entries stand in ascending key
// order, in which one service's elements follow each other as they mostly do in memory. The order decides the graph's
// traces, and which vertex is missing when there is no memory for one more; while the traces are wanted, it is the
// table's own.
class StoreEntries {
  public:
    explicit StoreEntries(GHashTable *store);
    ~StoreEntries();
    StoreEntries(const StoreEntries &) = delete;
    StoreEntries &operator=(const StoreEntries &) = delete;

    // Call `function` with the key and value of every entry of a level; QARN_EVERY_LEVEL for all. When another
    // generation, run by the platform while this one prints, has left its store behind, that one's entries all come.
    void for_each(int32_t level, GHFunc function, void *argument) const;

  private:
    GHashTable *store_;
    GArray *all_;
    GArray *levels_[kPrintLevels];
};

} // namespace qarn
