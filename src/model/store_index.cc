#include "model/store_index.h"

namespace qarn {
namespace {

// Different keys stay different: the factor is odd.
void *spread(qarn_merge_key key) {
    return GUINT_TO_POINTER((uint32_t{key.uuid} << 16 | key.elem_id) * 0x9e3779b1u);
}

} // namespace

StoreIndex::StoreIndex(GHashTable *store)
    : store_(store), entries_(g_hash_table_new(g_direct_hash, nullptr)) {
}

StoreIndex::~StoreIndex() {
    g_hash_table_destroy(entries_);
}

StoreIndex *StoreIndex::of(GHashTable *store) {
    StoreIndex *index = innermost();
    if (index == nullptr || index->store_ != store) return nullptr;
    return g_hash_table_size(index->entries_) == g_hash_table_size(store) ? index : nullptr;
}

qarn_merge_val *StoreIndex::find(qarn_merge_key key) const {
    return static_cast<qarn_merge_val *>(g_hash_table_lookup(entries_, spread(key)));
}

void StoreIndex::insert(qarn_merge_key key, qarn_merge_val *value) {
    g_hash_table_insert(entries_, spread(key), value);
}

void StoreIndex::remove(qarn_merge_key key) {
    g_hash_table_remove(entries_, spread(key));
}

} // namespace qarn
