// A page has room for 256 elements, so that services with few elements do not take much and the table of pages stays
// small enough for the cache.
#include "model/store_index.h"

namespace qarn {
namespace {

constexpr std::size_t kPageSize = 256;

void *page_number(qarn_merge_key key) {
    return GUINT_TO_POINTER(uint32_t{key.uuid} << 8 | key.elem_id >> 8);
}

std::size_t line_on_page(qarn_merge_key key) {
    return key.elem_id % kPageSize;
}

} // namespace

StoreIndex::StoreIndex()
    : pages_(g_hash_table_new_full(g_direct_hash, nullptr, nullptr, g_free)),
      entries_(g_array_new(FALSE, FALSE, sizeof(StoreEntry))) {
    current_ = this;
}

StoreIndex::~StoreIndex() {
    current_ = nullptr;
    g_hash_table_destroy(pages_);
    g_array_unref(entries_);
}

uint32_t *StoreIndex::page_of(qarn_merge_key key) const {
    return static_cast<uint32_t *>(g_hash_table_lookup(pages_, page_number(key)));
}

// A line of 0 is one more than kNoPlace.
uint32_t StoreIndex::place_of(qarn_merge_key key) const {
    const uint32_t *page = page_of(key);
    return page != nullptr ? page[line_on_page(key)] - 1 : kNoPlace;
}

void StoreIndex::insert(qarn_merge_key *key, qarn_merge_val *value) {
    uint32_t *page = page_of(*key);
    if (page == nullptr) {
        page = g_new0(uint32_t, kPageSize);
        g_hash_table_insert(pages_, page_number(*key), page);
    }
    uint32_t &line = page[line_on_page(*key)];
    if (line == 0) {
        const StoreEntry entry = {key, value};
        g_array_append_val(entries_, entry);
        line = entries_->len;
    } else {
        StoreEntry &entry = g_array_index(entries_, StoreEntry, line - 1);
        entry = {entry.value != nullptr ? entry.key : key, value};
    }
}

void StoreIndex::remove(qarn_merge_key key) {
    const uint32_t place = place_of(key);
    if (place != kNoPlace) g_array_index(entries_, StoreEntry, place).value = nullptr;
}

} // namespace qarn
