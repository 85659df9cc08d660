// A second index of the element store. The store hashes a key as one integer, and with GLib's table sizes many keys of
// a large switch (few services with many elements each) collide. This index keeps neighbouring elements of a service on
// one page, which a look-up finds by hashing. It also numbers the entries in the order of their arrival, in which a
// walk over the elements reads memory as it was allocated.
#pragma once

#include <glib.h>

#include <cstdint>

#include <qarncli/element_store.h>

namespace qarn {

struct StoreEntry {
    qarn_merge_key *key; // the store's own key object
    qarn_merge_val *value;
};

// Lives while a generation decodes, orders and prints. qarn_merge_hash_insert and qarn_merge_hash_remove keep it up to
// date.
class StoreIndex {
  public:
    StoreIndex();
    ~StoreIndex();
    StoreIndex(const StoreIndex &) = delete;
    StoreIndex &operator=(const StoreIndex &) = delete;

    // The index of the current generation; null when there is none.
    static StoreIndex *current() { return current_; }

    // Null when the store has no entry of the key.
    qarn_merge_val *find(qarn_merge_key key) const {
        const uint32_t place = place_of(key);
        return place != kNoPlace ? at(place).value : nullptr;
    }
    // The table keeps the key object of an entry that it has already, and so does the index.
    void insert(qarn_merge_key *key, qarn_merge_val *value);
    void remove(qarn_merge_key key);

    // Entries by place, in the order of arrival. An entry that was removed has no value.
    static constexpr uint32_t kNoPlace = UINT32_MAX;
    uint32_t num_places() const { return entries_->len; }
    const StoreEntry &at(uint32_t place) const { return g_array_index(entries_, StoreEntry, place); }
    uint32_t place_of(qarn_merge_key key) const;

  private:
    uint32_t *page_of(qarn_merge_key key) const;

    static inline StoreIndex *current_ = nullptr;

    GHashTable *pages_; // service and upper byte of the id -> a page: by lower byte the place + 1, or 0
    GArray *entries_;
};

} // namespace qarn
