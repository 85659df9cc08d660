// The ordering passes of a command over the element store: one over the interface elements, one over all elements, and
// one for each print level.
#pragma once

#include <glib.h>

#include <cstdint>
#include <optional>

#include "model/store_index.h"
#include "order/row_order.h"
#include "order/rows.h"

struct queue;

namespace qarn {

enum class Admit { kEveryElement, kInterfaceElements };

// Lives during the output phase of a generation. Each function returns false if there is a loop, or if memory runs out.
class Passes {
  public:
    explicit Passes(GHashTable *store);

    // Order the admitted elements of all levels into `ordered`, each after those that it depends on. Elements that wait
    // for a loop are left out.
    bool order(Admit admit, queue *ordered);
    // Order the elements of a level and hand their entries to `print`, each with `argument`; none if there is a loop.
    using Print = void (*)(const StoreEntry &entry, void *argument);
    bool traverse_level(int32_t level, Print print, void *argument);

  private:
    bool order_into(Admit admit, queue *ordered);
    bool traverse_by_graph(int32_t level, Print print, void *argument) const;
    void note_loop_of(Admit admit) const;
    bool order_by_graph(int32_t level, Admit admit, queue *ordered) const;

    GHashTable *store_;
    std::optional<Rows> rows_; // none where the passes go by graphs
    std::optional<RowOrder> order_;
};

} // namespace qarn
