// The index is a GLib table of its own, whose keys are the store's keys with the service's part spread over 16 bits.
#include "model/store_index.h"

namespace qarn {
namespace {

// Puts services far apart, and the elements of one service side by side. Different keys stay different, because the
// factor is odd.
void *spread(qarn_merge_key key) {
    const auto service = static_cast<uint16_t>(key.uuid * 0x9e37u);
    return GUINT_TO_POINTER(uint32_t{service} << 16 | key.elem_id);
}

} // namespace

StoreIndex::StoreIndex() : entries_(g_hash_table_new(g_direct_hash, nullptr)) {
    current_ = this;
}

StoreIndex::~StoreIndex() {
    current_ = nullptr;
    g_hash_table_destroy(entries_);
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
