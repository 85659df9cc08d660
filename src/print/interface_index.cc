// The index of per-interface values. Its nodes lie in blocks, because there is one for every contribution.
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

} // namespace

InterfaceIndex::~InterfaceIndex() {
    if (by_interface_ == nullptr) return;
    g_hash_table_destroy(by_interface_);
    g_ptr_array_unref(blocks_);
}

InterfaceIndex *InterfaceIndex::current() {
    return debugging(QARN_DEBUG_LOOKUP) ? nullptr : innermost();
}

const InterfaceValue *InterfaceIndex::find(uint32_t if_index) {
    build();
    const auto *values = static_cast<const Values *>(g_hash_table_lookup(by_interface_, GUINT_TO_POINTER(if_index)));
    return values != nullptr ? values->first : nullptr;
}

bool InterfaceIndex::has_elements() {
    build();
    return has_elements_;
}

void InterfaceIndex::build() {
    if (by_interface_ != nullptr) return;
    by_interface_ = g_hash_table_new_full(g_direct_hash, g_direct_equal, nullptr, g_free);
    blocks_ = g_ptr_array_new_with_free_func(g_free);
    traverse(&intf_element_q, add_element, this);
}

void InterfaceIndex::add_element(void *data, void *index) {
    const qarn_merge_val *entry = value_of_vertex(data);
    if (entry == nullptr) return;
    auto *self = static_cast<InterfaceIndex *>(index);
    self->has_elements_ = true;
    if ((entry->elem->property & QARN_PROP_INTF) != 0) add_values(entry->elem, self);
}

void InterfaceIndex::add_values(const qarn_elem *elem, InterfaceIndex *index) {
    GHashTableIter iter;
    void *if_index = nullptr;
    void *value = nullptr;
    g_hash_table_iter_init(&iter, elem->ifindex_table);
    while (g_hash_table_iter_next(&iter, &if_index, &value) != 0) {
        if (value == nullptr) continue;
        InterfaceValue *node = index->new_node();
        *node = {elem, value, nullptr};
        gpointer key = GUINT_TO_POINTER(*static_cast<const guint32 *>(if_index));
        auto *values = static_cast<Values *>(g_hash_table_lookup(index->by_interface_, key));
        if (values == nullptr) {
            values = g_new(Values, 1);
            *values = {node, node};
            g_hash_table_insert(index->by_interface_, key, values);
        } else {
            values->last->next = node;
            values->last = node;
        }
    }
}

InterfaceValue *InterfaceIndex::new_node() {
    if (blocks_->len == 0 || used_of_block_ == kNodesPerBlock) {
        g_ptr_array_add(blocks_, g_new(InterfaceValue, kNodesPerBlock));
        used_of_block_ = 0;
    }
    return static_cast<InterfaceValue *>(g_ptr_array_index(blocks_, blocks_->len - 1)) + used_of_block_++;
}

} // namespace qarn
