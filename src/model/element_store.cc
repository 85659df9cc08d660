// The element store and the set-up of a generation's tables. Tables of an earlier generation are abandoned: their
// elements may still be referred to by what that generation left in the globals.
#include <qarncli/element_store.h>

#include <qarncli/globals.h>
#include <qarncli/graph.h>
#include <qarncli/ifindex.h>

#include "base/owner.h"
#include "model/store_index.h"

namespace {

qarn_merge_key key_of(uint32_t uuid, uint32_t elem_id) {
    return {static_cast<uint16_t>(uuid), static_cast<uint16_t>(elem_id)};
}

} // namespace

uint32_t qarn_merge_init(qarn_req *req) {
    merge_elem_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    msg_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    vlan_reverse_table_p = g_hash_table_new(g_int_hash, g_int_equal);
    if_index_list_p = &if_index_list;
    return qarn_ifindex_lists_init(req);
}

qarn_merge_val *qarn_merge_value_get(uint32_t uuid, uint32_t elem_id) {
    alignas(gint) const qarn_merge_key key = key_of(uuid, elem_id);
    if (const auto *index = qarn::StoreIndex::of(merge_elem_table_p)) return index->find(key);
    return static_cast<qarn_merge_val *>(g_hash_table_lookup(merge_elem_table_p, &key));
}

void qarn_merge_hash_insert(uint32_t uuid, qarn_elem *elem, GHashTable *table) {
    auto key = qarn::allocate<qarn_merge_key>();
    if (!key) return;
    auto value = qarn::allocate<qarn_merge_val>();
    if (!value) return;
    *key = key_of(uuid, elem->elem_id);
    *value = {elem, nullptr};
    if (auto *index = qarn::StoreIndex::of(table)) index->insert(*key, value.get());
    // An equal key stays in the table; the new one is then not needed.
    if (g_hash_table_insert(table, key.get(), value.release())) static_cast<void>(key.release());
}

void qarn_merge_hash_remove(uint32_t uuid, qarn_elem *elem, GHashTable *table) {
    const auto key = qarn::allocate<qarn_merge_key>();
    if (!key) return;
    *key = key_of(uuid, elem->elem_id);
    if (auto *index = qarn::StoreIndex::of(table)) index->remove(*key);
    g_hash_table_remove(table, key.get());
}

int32_t qarn_merge_val_filter_check(qarn_merge_val *value, qarn_merge_graph_info *pass) {
    const qarn_elem &elem = *value->elem;
    const bool level_fits = pass->level == QARN_EVERY_LEVEL || static_cast<uint32_t>(pass->level) == elem.level;
    const bool kind_fits = pass->intf_only != 1 || (elem.property & QARN_PROP_INTF) != 0;
    return level_fits && kind_fits ? 1 : 0;
}
