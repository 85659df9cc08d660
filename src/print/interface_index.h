// What the interface elements have for each interface, in the order of intf_element_q. While a generation prints, the
// blocks take their values from an index that is built from the queue at the first question; the exported callback
// walks the queue instead, and serves whenever there is no index or its traces are wanted.
#pragma once

#include <cstdint>

struct qarn_elem;

namespace qarn {

// The index may be used while this lives: during the level passes, while queue and store stand still.
class InterfaceIndex {
  public:
    InterfaceIndex();
    ~InterfaceIndex();
    InterfaceIndex(const InterfaceIndex &) = delete;
    InterfaceIndex &operator=(const InterfaceIndex &) = delete;
};

// One element's value for one interface: a text or a command message, as the element's val_type says.
struct InterfaceValue {
    const qarn_elem *elem;
    void *value;
    const InterfaceValue *next; // of the same interface, later in the queue
};

// Whether interface_values() may be asked.
bool has_interface_index();

// The first value for an interface, or null.
const InterfaceValue *interface_values(uint32_t if_index);

// Whether intf_element_q holds an element at all.
bool has_interface_elements();

} // namespace qarn
