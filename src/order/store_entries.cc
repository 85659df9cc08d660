// The store's entries are copied and sorted once per command; 15 passes then walk only the entries that they need.
#include "order/store_entries.h"

#include <qarncli/element_store.h>
#include <qarncli/graph.h>
#include <qarncli/ordering.h>

#include <algorithm>

#include "base/trace.h"

namespace qarn {
namespace {

struct Entry {
    qarn_merge_key *key;
    qarn_merge_val *value;
};

GArray *new_entries(guint room) {
    return g_array_sized_new(FALSE, FALSE, sizeof(Entry), room);
}

bool precedes(const Entry &a, const Entry &b) {
    return a.key->uuid != b.key->uuid ? a.key->uuid < b.key->uuid : a.key->elem_id < b.key->elem_id;
}

void append(void *key, void *value, void *entries) {
    const Entry entry = {static_cast<qarn_merge_key *>(key), static_cast<qarn_merge_val *>(value)};
    g_array_append_val(static_cast<GArray *>(entries), entry);
}

} // namespace

StoreEntries::StoreEntries(GHashTable *store) : all_(new_entries(g_hash_table_size(store))) {
    g_hash_table_foreach(store, append, all_);
    auto *begin = reinterpret_cast<Entry *>(all_->data);
    auto *end = begin + all_->len;
    if (!debugging(QARN_DEBUG_GRAPH)) std::sort(begin, end, precedes);
    for (GArray *&level : levels_)
        level = new_entries(0);
    for (const Entry *entry = begin; entry != end; ++entry) {
        const uint32_t level = entry->value->elem->level;
        if (level < uint32_t{kPrintLevels}) g_array_append_val(levels_[level], *entry);
    }
}

StoreEntries::~StoreEntries() {
    g_array_unref(all_);
    for (GArray *level : levels_)
        g_array_unref(level);
}

bool StoreEntries::order(int32_t level, Admit admit, queue *ordered) const {
    qarn_merge_graph_info pass;
    qarn_merge_graph_info_init(&pass, level, admit == Admit::kInterfaceElements ? 1 : 0);
    for_each(level, qarn_graph_vertex_add, &pass);
    for_each(level, qarn_graph_edge_add, &pass);
    return visit2(&pass.graph, ordered) == 0;
}

void StoreEntries::for_each(int32_t level, GHFunc function, void *argument) const {
    const GArray *entries = level == QARN_EVERY_LEVEL ? all_ : levels_[level];
    for (guint i = 0; i < entries->len; ++i) {
        const Entry &entry = g_array_index(entries, Entry, i);
        function(entry.key, entry.value, argument);
    }
}

} // namespace qarn
