// The entries of the element store as the ordering passes walk them: all of them, and those of one print level.
#pragma once

#include <glib.h>

#include <cstdint>

namespace qarn {

constexpr int32_t kPrintLevels = 13; // 0..12; elements of any other level are never printed

// Lives during the output phase of one generation, while the store stands still. The entries stand in ascending key
// order, which is about the order in which they were made: passes over a large store then run through memory. No result
// depends on the order but the graph's traces; while those are wanted, it is the table's own.
class StoreEntries {
  public:
    explicit StoreEntries(GHashTable *store);
    ~StoreEntries();
    StoreEntries(const StoreEntries &) = delete;
    StoreEntries &operator=(const StoreEntries &) = delete;

    // Call `function` with the key and value of every entry of a level; QARN_EVERY_LEVEL for all.
    void for_each(int32_t level, GHFunc function, void *argument) const;

  private:
    GArray *all_;
    GArray *levels_[kPrintLevels];
};

} // namespace qarn
