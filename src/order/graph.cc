// The dependency graph of one ordering pass: a vertex per admitted element, an edge from every element to each one
// that waits for it. The store value of an element holds its vertex. Every pass overwrites it for the elements that it
// admits, with null where an element gets no vertex, so that a vertex of an earlier pass is never used.
#include <qarncli/graph.h>

#include <qarncli/element.h>
#include <qarncli/element_store.h>

#include "base/owner.h"
#include "base/trace.h"
#include "platform/csm.h"

void init_graph(graph *graph) {
    *graph = {};
}

void qarn_merge_graph_info_init(qarn_merge_graph_info *info, int32_t level, int32_t intf_only) {
    init_graph(&info->graph);
    info->level = level;
    info->intf_only = intf_only;
}

int32_t qarn_merge_val_filter_check(qarn_merge_val *value, qarn_merge_graph_info *pass) {
    const qarn_elem &elem = *value->elem;
    const bool level_fits = pass->level == QARN_EVERY_LEVEL || static_cast<uint32_t>(pass->level) == elem.level;
    const bool kind_fits = pass->intf_only != 1 || (elem.property & QARN_PROP_INTF) != 0;
    return level_fits && kind_fits ? 1 : 0;
}

vertex *add_vertex(graph *graph, void *data) {
    vertex *added = qarn::allocate<vertex>().release();
    if (added == nullptr) return nullptr;
    *added = {data, 0, 0, nullptr, graph->vertices};
    graph->vertices = added;
    ++graph->num_vertices;
    return added;
}

edge *add_edge(vertex *from, vertex *to) {
    edge *added = qarn::allocate<edge>().release();
    if (added == nullptr) return nullptr;
    *added = {to, from->edges};
    from->edges = added;
    return added;
}

int32_t qarn_conditional_dependency_verify(const qarn_elem *elem) {
    for (const qarn_elem_dependency *dep = elem->dep_list; dep != nullptr; dep = dep->next) {
        if (dep->dep_type != QARN_DEP_CONDITIONAL) continue;
        const qarn_merge_val *target = qarn_merge_value_get(dep->uuid, dep->elem_id);
        if (target != nullptr && target->elem->cfg_str->len > 0) return 1;
    }
    return 0;
}

void qarn_graph_vertex_add(void *key, void *value, void *info) {
    const auto *name = static_cast<const qarn_merge_key *>(key);
    auto *entry = static_cast<qarn_merge_val *>(value);
    auto *pass = static_cast<qarn_merge_graph_info *>(info);
    if (qarn_merge_val_filter_check(entry, pass) == 0) return;
    entry->vertex = nullptr;
    if ((entry->elem->property & QARN_PROP_CONDITIONAL) != 0 && qarn_conditional_dependency_verify(entry->elem) == 0) {
        if (qarn::debugging(QARN_DEBUG_GRAPH)) {
            qarn::trace("Conditional Dependency not satisfied for (%d,%d)\n", name->uuid, name->elem_id);
        }
        return;
    }
    if (qarn::debugging(QARN_DEBUG_GRAPH)) qarn::trace("Adding Vertex (%d,%d)\n", name->uuid, name->elem_id);
    entry->vertex = add_vertex(&pass->graph, key);
}

void qarn_graph_edge_add(void *key, void *value, void *info) {
    const auto *name = static_cast<const qarn_merge_key *>(key);
    auto *entry = static_cast<qarn_merge_val *>(value);
    auto *pass = static_cast<qarn_merge_graph_info *>(info);
    if (qarn_merge_val_filter_check(entry, pass) == 0) return;
    for (const qarn_elem_dependency *dep = entry->elem->dep_list; dep != nullptr; dep = dep->next) {
        if (dep->dep_type != QARN_DEP_ORDER) continue;
        qarn_merge_val *target = qarn_merge_value_get(dep->uuid, dep->elem_id);
        if (target == nullptr) {
            if (qarn::debugging(QARN_DEBUG_GRAPH)) {
                csm_qarn_sp_print("(%d,%d) does not exist!\n", dep->uuid, dep->elem_id);
            }
            continue;
        }
        if (qarn_merge_val_filter_check(target, pass) == 0) continue;
        if (qarn::debugging(QARN_DEBUG_GRAPH)) {
            csm_qarn_sp_print("Adding Edge (%d,%d)->(%d,%d)\n", name->uuid, name->elem_id, dep->uuid, dep->elem_id);
        }
        if (target->vertex != nullptr && entry->vertex != nullptr) add_edge(target->vertex, entry->vertex);
    }
}
