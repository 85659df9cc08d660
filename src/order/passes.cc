// The passes share one set of rows. The debug bits of the graph and of the sweeps trace what the exported functions do,
// so under these bits each pass builds its graph from the store. It does the same if memory for the rows runs out: the
// records of a graph are small, and one that is missing costs one element in one pass.
#include "order/passes.h"

#include <qarncli/graph.h>
#include <qarncli/ordering.h>

#include "base/trace.h"
#include "model/store_index.h"
#include "outcome/outcome.h"

namespace qarn {
namespace {

// The elements of a level lie far apart in memory. So that printing need not wait for each, what is read first of the
// coming ones is fetched ahead: the element, a little later its tables and its text. Inlined always: GCC drops a call
// that only prefetches.
[[gnu::always_inline]] inline void read_ahead(const Rows &rows, std::span<const uint32_t> coming) {
    constexpr std::size_t kElements = 12, kParts = 8, kCharacters = 4;
    if (coming.size() > kElements) {
        const uint32_t row = coming[kElements];
        __builtin_prefetch(rows.entry_of(row).key);
        __builtin_prefetch(rows.entry_of(row).value);
        __builtin_prefetch(&rows.element_of(row).uuid);
        __builtin_prefetch(&rows.element_of(row).dep_list);
    }
    if (coming.size() > kParts) {
        const qarn_elem &elem = rows.element_of(coming[kParts]);
        __builtin_prefetch(elem.key_table);
        __builtin_prefetch(elem.cfg_str);
    }
    if (coming.size() > kCharacters) __builtin_prefetch(rows.element_of(coming[kCharacters]).cfg_str->str);
}

} // namespace

Passes::Passes(GHashTable *store) : store_(store) {
    if (debugging(QARN_DEBUG_GRAPH | QARN_DEBUG_DECODE)) return;
    rows_.emplace(*StoreIndex::current());
    if (rows_->ok()) order_.emplace(*rows_);
    if (!order_ || !order_->ok()) rows_.reset();
}

bool Passes::order(Admit admit, queue *ordered) {
    const bool is_complete = order_into(admit, ordered);
    if (!is_complete) note_loop_of(admit);
    return is_complete;
}

// Rows name the loop, for a pass that went by a graph too.
void Passes::note_loop_of(Admit admit) const {
    note_loop(admit == Admit::kEveryElement ? QARN_OUTCOME_KEY_STRING_PASS : QARN_OUTCOME_INTERFACE_PASS);
    const Rows rows(*StoreIndex::current());
    RowOrder order(rows);
    if (!rows.ok() || !order.ok()) return;
    if (admit == Admit::kEveryElement ? order.order_all() : order.order_interfaces()) return; // memory ran out instead
    order.for_each_of_loop([&](uint32_t row) {
        const qarn_merge_key &key = *rows.entry_of(row).key;
        note_loop_element(key.uuid, key.elem_id);
    });
}

bool Passes::order_into(Admit admit, queue *ordered) {
    if (!rows_) return order_by_graph(QARN_EVERY_LEVEL, admit, ordered);
    const bool is_complete = admit == Admit::kEveryElement ? order_->order_all() : order_->order_interfaces();
    init_queue(ordered);
    for (const uint32_t row : order_->ordered()) {
        rows_->vertex_of(row)->visited = 1;
        enqueue(ordered, rows_->vertex_of(row));
    }
    return is_complete;
}

bool Passes::traverse_level(int32_t level, Print print, void *argument) {
    if (!rows_) return traverse_by_graph(level, print, argument);
    if (!order_->order_level(level)) {
        note_loop(QARN_OUTCOME_LEVEL_PASS);
        return false;
    }
    const std::span<const uint32_t> ordered = order_->ordered();
    for (std::size_t at = 0; at < ordered.size(); ++at) {
        read_ahead(*rows_, ordered.subspan(at));
        print(rows_->entry_of(ordered[at]), argument);
    }
    return true;
}

bool Passes::traverse_by_graph(int32_t level, Print print, void *argument) const {
    queue ordered;
    if (!order_by_graph(level, Admit::kEveryElement, &ordered)) {
        note_loop(QARN_OUTCOME_LEVEL_PASS);
        return false;
    }
    for (const queue_node *node = ordered.head; node != nullptr; node = node->next) {
        auto *key = static_cast<qarn_merge_key *>(static_cast<const vertex *>(node->data)->data);
        print({key, qarn_merge_value_get(key->uuid, key->elem_id)}, argument);
    }
    return true;
}

bool Passes::order_by_graph(int32_t level, Admit admit, queue *ordered) const {
    qarn_merge_graph_info pass;
    qarn_merge_graph_info_init(&pass, level, admit == Admit::kInterfaceElements ? 1 : 0);
    g_hash_table_foreach(store_, qarn_graph_vertex_add, &pass);
    g_hash_table_foreach(store_, qarn_graph_edge_add, &pass);
    return visit2(&pass.graph, ordered) == 0;
}

} // namespace qarn
