// The element store: one entry per key. Look-ups go through the index of the current generation, when there is one.
#include <qarncli/element_store.h>

#include <qarncli/globals.h>

#include "base/owner.h"
#include "model/element_store.h"
#include "model/store_index.h"

qarn_merge_val *qarn_merge_value_get(uint32_t uuid, uint32_t elem_id) {
    alignas(gint) const qarn_merge_key key = qarn::store_key(uuid, elem_id);
    if (const auto *index = qarn::StoreIndex::current()) return index->find(key);
    return static_cast<qarn_merge_val *>(g_hash_table_lookup(merge_elem_table_p, &key));
}

void qarn_merge_hash_insert(uint32_t uuid, qarn_elem *elem, GHashTable *table) {
    auto key = qarn::allocate<qarn_merge_key>();
    if (!key) return;
    auto value = qarn::allocate<qarn_merge_val>();
    if (!value) return;
    *key = qarn::store_key(uuid, elem->elem_id);
    *value = {elem, nullptr};
    if (auto *index = qarn::StoreIndex::current()) index->insert(key.get(), value.get());
    // An equal key stays in the table; the new one is then not needed.
    if (g_hash_table_insert(table, key.get(), value.release())) static_cast<void>(key.release());
}

void qarn_merge_hash_remove(uint32_t uuid, qarn_elem *elem, GHashTable *table) {
    const auto key = qarn::allocate<qarn_merge_key>();
    if (!key) return;
    *key = qarn::store_key(uuid, elem->elem_id);
    if (auto *index = qarn::StoreIndex::current()) index->remove(*key);
    g_hash_table_remove(table, key.get());
}
