// What the printers look up while the levels print, in indexes built from the ordered queues.
//
// Each index gives the same text as a walk over a queue or list by the exported callbacks. The walks write the traces
// of their debug bits, so while such a bit is set the walk is used and not the index:
//
//   index of             serves                     instead of a walk over          not used under
//   key strings          key tables, VLANs          keystr_element_q                QARN_DEBUG_STORE
//   interface values     interface blocks           intf_element_q                  QARN_DEBUG_LOOKUP
//   printed names        the feature-key pass       key_list                        none: that walk has no traces
//
// Outside of the level passes there is no index, and the exported functions walk.
#pragma once

#include <qarncli/element_store.h>
#include <qarncli/graph.h>

#include <memory>
#include <optional>

#include "base/groups.h"
#include "print/key_strings.h"

struct feature_key_entry;

namespace qarn {

// A node's data is a vertex, whose data is the element's store key.
inline const qarn_merge_key &key_of_vertex(const void *vertex) {
    return *static_cast<const qarn_merge_key *>(static_cast<const struct vertex *>(vertex)->data);
}

// The element's entry in the store, or null when it is no longer there.
inline qarn_merge_val *value_of_vertex(const void *vertex) {
    const qarn_merge_key &key = key_of_vertex(vertex);
    return qarn_merge_value_get(key.uuid, key.elem_id);
}

// One element's value for one interface: a text or a command message, depending on the element's val_type.
struct InterfaceValue {
    const qarn_elem *elem;
    void *value;
};

using InterfaceValues = Groups<InterfaceValue>::Group;

// The indexes of one generation's level passes, during which store and queues are only read. Each index is built when
// it is first asked. They hold no text of their own.
class Lookup {
  public:
    Lookup();
    ~Lookup();
    Lookup(const Lookup &) = delete;
    Lookup &operator=(const Lookup &) = delete;

    // The indexes of the current level passes; null when a walk is to be used instead.
    static Lookup *for_key_strings();
    static Lookup *for_interfaces();
    static Lookup *for_printed_names() { return current_; }

    const KeyStrings &key_strings();

    // The values for an interface, in queue order; null when there are none.
    const InterfaceValues *interface_values(uint32_t if_index);
    // Whether intf_element_q holds an element at all.
    bool has_interface_elements();

    // Whether a name is on key_list. The list grows while the levels print: each new entry is added here too.
    bool is_printed(const char *name);
    void add_printed(const feature_key_entry &entry);

  private:
    struct DestroyTable {
        void operator()(GHashTable *table) const { g_hash_table_destroy(table); }
    };

    static inline Lookup *current_ = nullptr;

    void build_interface_values();
    std::optional<KeyStrings> key_strings_;
    std::optional<Groups<InterfaceValue>> interface_values_;  // by interface index
    bool has_interface_elements_ = false;                     // known once interface_values_ is built
    std::unique_ptr<GHashTable, DestroyTable> printed_names_; // the entries' own texts; null until the first question
};

} // namespace qarn
