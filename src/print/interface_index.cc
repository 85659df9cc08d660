// The index of per-interface values, made by one walk over the queue.
#include "print/interface_index.h"

#include <qarncli/element.h>
#include <qarncli/globals.h>

#include "base/trace.h"
#include "print/queued_element.h"

namespace qarn {

InterfaceIndex *InterfaceIndex::current() {
    return debugging(QARN_DEBUG_LOOKUP) ? nullptr : innermost();
}

const InterfaceIndex::Values *InterfaceIndex::find(uint32_t if_index) {
    build();
    return values_->find(GUINT_TO_POINTER(if_index));
}

bool InterfaceIndex::has_elements() {
    build();
    return has_elements_;
}

void InterfaceIndex::build() {
    if (values_) return;
    values_.emplace(g_direct_hash, nullptr);
    for (const queue_node *node = intf_element_q.head; node != nullptr; node = node->next) {
        const qarn_merge_val *entry = value_of_vertex(node->data);
        if (entry == nullptr) continue;
        has_elements_ = true;
        if ((entry->elem->property & QARN_PROP_INTF) != 0) add_values(entry->elem);
    }
}

void InterfaceIndex::add_values(const qarn_elem *elem) {
    GHashTableIter iter;
    void *if_index = nullptr;
    void *value = nullptr;
    g_hash_table_iter_init(&iter, elem->ifindex_table);
    while (g_hash_table_iter_next(&iter, &if_index, &value) != 0) {
        if (value == nullptr) continue;
        values_->add(values_->open(GUINT_TO_POINTER(*static_cast<const guint32 *>(if_index))), {elem, value});
    }
}

} // namespace qarn
