// A second index of the element store. The store hashes a key as one integer, and with GLib's table sizes many keys of
// a large switch (few services with many elements each) collide; this index spreads the keys first.
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

    // The index of the current generation; null when there is none.
    static StoreIndex *current() { return current_; }

    qarn_merge_val *find(qarn_merge_key key) const;
    void insert(qarn_merge_key key, qarn_merge_val *value);
    void remove(qarn_merge_key key);

  private:
    static inline StoreIndex *current_ = nullptr;

    GHashTable *entries_;
};

} // namespace qarn
