// Each index is built by one walk over its queue or list.
#include "print/lookup.h"

#include <qarncli/globals.h>
#include <qarncli/key_table.h>
#include <qarncli/ordering.h>

#include "base/trace.h"

namespace qarn {
namespace {

void add_values(Groups<InterfaceValue> &values, const qarn_elem &elem) {
    GHashTableIter iter;
    void *if_index = nullptr;
    void *value = nullptr;
    g_hash_table_iter_init(&iter, elem.ifindex_table);
    while (g_hash_table_iter_next(&iter, &if_index, &value) != 0) {
        if (value == nullptr) continue;
        values.add(values.open(GUINT_TO_POINTER(*static_cast<const guint32 *>(if_index))), {&elem, value});
    }
}

} // namespace

Lookup::Lookup() {
    current_ = this;
}

Lookup::~Lookup() {
    current_ = nullptr;
}

Lookup *Lookup::for_key_strings() {
    return debugging(QARN_DEBUG_STORE) ? nullptr : current_;
}

Lookup *Lookup::for_interfaces() {
    return debugging(QARN_DEBUG_LOOKUP) ? nullptr : current_;
}

const KeyStrings &Lookup::key_strings() {
    return key_strings_ ? *key_strings_ : key_strings_.emplace(keystr_element_q);
}

const InterfaceValues *Lookup::interface_values(uint32_t if_index) {
    build_interface_values();
    return interface_values_->find(GUINT_TO_POINTER(if_index));
}

bool Lookup::has_interface_elements() {
    build_interface_values();
    return has_interface_elements_;
}

void Lookup::build_interface_values() {
    if (interface_values_) return;
    interface_values_.emplace(g_direct_hash, nullptr);
    for (const queue_node *node = intf_element_q.head; node != nullptr; node = node->next) {
        const qarn_merge_val *entry = value_of_vertex(node->data);
        if (entry == nullptr) continue;
        has_interface_elements_ = true;
        if ((entry->elem->property & QARN_PROP_INTF) != 0) add_values(*interface_values_, *entry->elem);
    }
}

bool Lookup::is_printed(const char *name) {
    if (!printed_names_) {
        printed_names_.reset(g_hash_table_new(g_str_hash, g_str_equal));
        for (const feature_key_entry *entry = key_list; entry != nullptr; entry = entry->next)
            add_printed(*entry);
    }
    return g_hash_table_contains(printed_names_.get(), name) != 0;
}

// Before the first question key_list itself knows the entry.
void Lookup::add_printed(const feature_key_entry &entry) {
    if (printed_names_) g_hash_table_add(printed_names_.get(), entry.key->str);
}

} // namespace qarn
