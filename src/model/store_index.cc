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

StoreIndex::StoreIndex()
    : places_(g_hash_table_new(g_direct_hash, nullptr)), entries_(g_array_new(FALSE, FALSE, sizeof(StoreEntry))) {
    current_ = this;
}

StoreIndex::~StoreIndex() {
    current_ = nullptr;
    g_hash_table_destroy(places_);
    g_array_unref(entries_);
}

// A key without a place gives null, 0, and one less is kNoPlace.
uint32_t StoreIndex::place_of(qarn_merge_key key) const {
    return GPOINTER_TO_UINT(g_hash_table_lookup(places_, spread(key))) - 1;
}

void StoreIndex::insert(qarn_merge_key *key, qarn_merge_val *value) {
    const uint32_t place = place_of(*key);
    if (place == kNoPlace) {
        const StoreEntry entry = {key, value};
        g_array_append_val(entries_, entry);
        g_hash_table_insert(places_, spread(*key), GUINT_TO_POINTER(entries_->len));
        return;
    }
    StoreEntry &entry = g_array_index(entries_, StoreEntry, place);
    entry = {entry.value != nullptr ? entry.key : key, value};
}

void StoreIndex::remove(qarn_merge_key key) {
    const uint32_t place = place_of(key);
    if (place != kNoPlace) g_array_index(entries_, StoreEntry, place).value = nullptr;
}

} // namespace qarn
