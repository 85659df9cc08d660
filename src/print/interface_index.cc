// The index of per-interface values. It holds no text of its own: values are the elements'. Its nodes lie in blocks
// that are freed together with it.
#include "print/interface_index.h"

#include <qarncli/element.h>
#include <qarncli/globals.h>

#include "base/trace.h"
#include "print/queued_element.h"

namespace qarn {
namespace {

constexpr gsize kNodesPerBlock = 4096;

// The values of one interface, in queue order.
struct Values {
    InterfaceValue *first, *last;
};

bool is_printing = false;
GHashTable *by_interface = nullptr; // if_index -> Values; made at the first question
GPtrArray *blocks = nullptr;        // of InterfaceValue
gsize used_of_block = kNodesPerBlock;
bool elements_found = false;

InterfaceValue *new_node() {
    if (used_of_block == kNodesPerBlock) {
        g_ptr_array_add(blocks, g_new(InterfaceValue, kNodesPerBlock));
        used_of_block = 0;
    }
    return static_cast<InterfaceValue *>(g_ptr_array_index(blocks, blocks->len - 1)) + used_of_block++;
}

void add_value(void *if_index, void *value, void *elem) {
    InterfaceValue *node = new_node();
    *node = {static_cast<const qarn_elem *>(elem), value, nullptr};
    gpointer key = GUINT_TO_POINTER(*static_cast<const guint32 *>(if_index));
    auto *values = static_cast<Values *>(g_hash_table_lookup(by_interface, key));
    if (values == nullptr) {
        values = g_new(Values, 1);
        *values = {node, node};
        g_hash_table_insert(by_interface, key, values);
        return;
    }
    values->last->next = node;
    values->last = node;
}

void add_element(void *data, void *) {
    const qarn_merge_val *entry = value_of_vertex(data);
    if (entry == nullptr) return;
    elements_found = true;
    if ((entry->elem->property & QARN_PROP_INTF) == 0) return;
    g_hash_table_foreach(entry->elem->ifindex_table, add_value, entry->elem);
}

void build() {
    if (by_interface != nullptr) return;
    by_interface = g_hash_table_new_full(g_direct_hash, g_direct_equal, nullptr, g_free);
    blocks = g_ptr_array_new_with_free_func(g_free);
    used_of_block = kNodesPerBlock;
    elements_found = false;
    traverse(&intf_element_q, add_element, nullptr);
}

} // namespace

InterfaceIndex::InterfaceIndex() {
    is_printing = true;
}

InterfaceIndex::~InterfaceIndex() {
    is_printing = false;
    g_clear_pointer(&by_interface, g_hash_table_destroy);
    g_clear_pointer(&blocks, g_ptr_array_unref);
}

bool has_interface_index() {
    return is_printing && !debugging(QARN_DEBUG_LOOKUP);
}

const InterfaceValue *interface_values(uint32_t if_index) {
    build();
    const auto *values = static_cast<const Values *>(g_hash_table_lookup(by_interface, GUINT_TO_POINTER(if_index)));
    return values != nullptr ? values->first : nullptr;
}

bool has_interface_elements() {
    build();
    return elements_found;
}

} // namespace qarn
