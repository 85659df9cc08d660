// The element store's entries by key once more. The store hashes a key as one integer, and GLib's table sizes let the
// keys of a large switch, few services with many elements each, fall on few places; here they are spread first.
#pragma once

#include <glib.h>

#include <cstdint>

#include <qarncli/element_store.h>

#include "base/innermost.h"

namespace qarn {

// Lives as long as one generation uses its store. qarn_merge_hash_insert and qarn_merge_hash_remove keep it up to date,
// and nobody else changes the store.
class StoreIndex : public Innermost<StoreIndex> {
  public:
    explicit StoreIndex(GHashTable *store);
    ~StoreIndex();

    // The index of a store; null when it has none. One that entries came into or left without its knowledge serves no
    // longer.
    static StoreIndex *of(GHashTable *store);

    qarn_merge_val *find(qarn_merge_key key) const;
    void insert(qarn_merge_key key, qarn_merge_val *value);
    void remove(qarn_merge_key key);

  private:
    GHashTable *store_; // null when the index serves no longer
    GHashTable *entries_;
};

} // namespace qarn
