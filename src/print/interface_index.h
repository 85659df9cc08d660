// What the interface elements have for each interface, in the order of intf_element_q. While the levels print, the
// blocks take their values from an index that is built from the queue at the first question; the exported callback
// walks the queue instead, and serves whenever there is no index or its traces are wanted.
#pragma once

#include <glib.h>

#include <cstdint>
#include <optional>

#include "base/innermost.h"
#include "print/groups.h"

struct qarn_elem;

namespace qarn {

// One element's value for one interface: a text or a command message, as the element's val_type says.
struct InterfaceValue {
    const qarn_elem *elem;
    void *value;
};

// Lives during the level passes of one generation, while queue and store stand still. It holds no text of its own:
// values are the elements'.
class InterfaceIndex : public Innermost<InterfaceIndex> {
  public:
    // The index of the level passes under way; null outside of them, and while the walk's traces are wanted.
    static InterfaceIndex *current();

    using Values = Groups<InterfaceValue>::Group;

    // The values for an interface, in queue order; null when there are none.
    const Values *find(uint32_t if_index);
    // Whether the queue holds an element at all.
    bool has_elements();

  private:
    void build();
    void add_values(const qarn_elem *elem);

    std::optional<Groups<InterfaceValue>> values_; // by interface index; made at the first question
    bool has_elements_ = false;
};

} // namespace qarn
