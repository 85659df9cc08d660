// The entries of the element store as the ordering passes walk them: all of them, and those of one print level.
#pragma once

#include <glib.h>

#include <cstdint>

struct queue;

namespace qarn {

inline constexpr int32_t kPrintLevels = 13; // 0..12; elements of any other level are never printed

enum class Admit { kEveryElement, kInterfaceElements };

// Lives during the output phase of a generation, when the element store no longer changes. The entries are in ascending
// key order, in which one service's elements follow each other as they mostly do in memory. The order also determines
// which vertex is missing if memory runs out, and the order of the graph's traces; for these the entries keep the
// store's own order under QARN_DEBUG_GRAPH.
class StoreEntries {
  public:
    explicit StoreEntries(GHashTable *store);
    ~StoreEntries();
    StoreEntries(const StoreEntries &) = delete;
    StoreEntries &operator=(const StoreEntries &) = delete;

    // One ordering pass: the admitted elements of a level (QARN_EVERY_LEVEL for all) into `ordered`, each after those
    // that it depends on. False if there is a loop or memory runs out.
    bool order(int32_t level, Admit admit, queue *ordered) const;

  private:
    void for_each(int32_t level, GHFunc function, void *argument) const;

    GArray *all_;
    GArray *levels_[kPrintLevels];
};

} // namespace qarn
