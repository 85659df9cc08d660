// The index of the element store.
#include "model/store_index.h"

namespace qarn {
namespace {

// Services far apart, the elements of one service side by side. Different keys stay different: the factor is odd.
void *spread(qarn_merge_key key) {
    const auto service = static_cast<uint16_t>(key.uuid * 0x9e37u);
    return GUINT_TO_POINTER(uint32_t{service} << 16 | key.elem_id);
}

} // namespace

StoreIndex::StoreIndex(GHashTable *store) : store_(store), entries_(g_hash_table_new(g_direct_hash, nullptr)) {}

StoreIndex::~StoreIndex() {
    g_hash_table_destroy(entries_);
}

StoreIndex *StoreIndex::of(GHashTable *store) {
    StoreIndex *index = innermost();
    if (index == nullptr || index->store_ != store) return nullptr;
    if (g_hash_table_size(index->entries_) == g_hash_table_size(store)) return index;
    index->store_ = nullptr;
    return nullptr;
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
