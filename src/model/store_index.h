// A second index of the element store. The store hashes a key as one integer, and GLib's table sizes let the keys of a
// large switch (few services with many elements each) fall on few places; this index spreads them first.
#pragma once

#include <glib.h>

#include <cstdint>

#include <qarncli/element_store.h>

namespace qarn {

// Lives while a generation decodes, orders and prints. qarn_merge_hash_insert and qarn_merge_hash_remove keep it up to
// date.
class StoreIndex {
  public:
    StoreIndex();
    ~StoreIndex();
    StoreIndex(const StoreIndex &) = delete;
    StoreIndex &operator=(const StoreIndex &) = delete;

    // The index of the generation under way; null when none is.
    static StoreIndex *current() { return current_; }

    qarn_merge_val *find(qarn_merge_key key) const;
    void insert(qarn_merge_key key, qarn_merge_val *value);
    void remove(qarn_merge_key key);

  private:
    static inline StoreIndex *current_ = nullptr;

    GHashTable *entries_;
};

} // namespace qarn
