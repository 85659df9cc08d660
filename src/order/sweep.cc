// From a graph to a queue in print order. visit2 orders by sweeps: the vertices stand in ascending (uuid, elem_id), a
// sweep walks them once and places every vertex that waits for nothing unplaced, and sweeps repeat until one places
// nothing. visit is the plain first-in-first-out ordering, for callers outside the library.
#include <qarncli/element_store.h>
#include <qarncli/ordering.h>
#include <qarncli/status.h>

#include <cstdio>
#include <cstdlib>

#include "base/owner.h"
#include "base/trace.h"

namespace {

const qarn_merge_key &key_of(const vertex &vertex) {
    return *static_cast<const qarn_merge_key *>(vertex.data);
}

void count_in_degrees(const graph &graph) {
    for (vertex *v = graph.vertices; v != nullptr; v = v->next)
        v->in_degree = v->visited = 0;
    for (const vertex *v = graph.vertices; v != nullptr; v = v->next) {
        for (const edge *e = v->edges; e != nullptr; e = e->next)
            ++e->to->in_degree;
    }
}

// Place the free vertices of one sweep; returns how many.
int32_t sweep(vertex **vertices, int32_t count, queue *queue) {
    int32_t placed = 0;
    for (int32_t i = 0; i < count; ++i) {
        vertex *v = vertices[i];
        if (v->visited == 1 || v->in_degree != 0) continue;
        enqueue(queue, v);
        v->visited = 1;
        ++placed;
        for (const edge *e = v->edges; e != nullptr; e = e->next)
            --e->to->in_degree;
    }
    return placed;
}

void print_key(const vertex &vertex) {
    std::printf("(%d,%d) ", key_of(vertex).uuid, key_of(vertex).elem_id);
}

void enqueue_or_abort(queue *queue, vertex *v, const char *complaint) {
    if (enqueue(queue, v) >= 0) return;
    std::fprintf(stderr, complaint, "visit");
    std::abort();
}

} // namespace

int uuid_elem_cmp_fn(const void *a, const void *b) {
    const qarn_merge_key &left = key_of(**static_cast<vertex *const *>(a));
    const qarn_merge_key &right = key_of(**static_cast<vertex *const *>(b));
    if (left.uuid != right.uuid) return left.uuid < right.uuid ? -1 : 1;
    if (left.elem_id != right.elem_id) return left.elem_id < right.elem_id ? -1 : 1;
    return 0;
}

void print_list(vertex **array, int32_t n) {
    std::printf("Sorted list:\n");
    for (int32_t i = 0; i < n; ++i)
        print_key(*array[i]);
    std::printf("\n");
    std::fflush(stdout);
}

void print_queue(const queue *queue) {
    std::printf("Element Queue:\n");
    for (const queue_node *node = queue->head; node != nullptr; node = node->next) {
        print_key(*static_cast<const vertex *>(node->data));
    }
    std::printf("\n");
    std::fflush(stdout);
}

int32_t visit2(graph *graph, queue *queue) {
    init_queue(queue);
    if (graph->vertices == nullptr) return 0;
    count_in_degrees(*graph);

    const int32_t count = graph->num_vertices;
    const auto vertices = qarn::allocate<vertex *>(static_cast<std::size_t>(count) * sizeof(vertex *));
    if (!vertices) return -1;
    vertex **end = vertices.get();
    for (vertex *v = graph->vertices; v != nullptr; v = v->next)
        *end++ = v;
    std::qsort(vertices.get(), static_cast<std::size_t>(count), sizeof(vertex *), uuid_elem_cmp_fn);
    if (qarn::debugging(QARN_DEBUG_DECODE)) print_list(vertices.get(), count);

    for (int32_t placed = 0; placed < count;) {
        const int32_t progress = sweep(vertices.get(), count, queue);
        if (qarn::debugging(QARN_DEBUG_DECODE)) print_queue(queue);
        if (progress == 0) return -1;
        placed += progress;
    }
    return 0;
}

int32_t visit(graph *graph, queue *queue) {
    struct queue free_vertices;
    init_queue(&free_vertices);
    init_queue(queue);
    count_in_degrees(*graph);
    for (vertex *v = graph->vertices; v != nullptr; v = v->next) {
        if (v->in_degree == 0) enqueue_or_abort(&free_vertices, v, "%s: not enough memory.\n");
    }
    int32_t processed = 0;
    while (auto *v = static_cast<vertex *>(dequeue(&free_vertices))) {
        if (v->visited != 1) enqueue(queue, v);
        v->visited = 1;
        for (const edge *e = v->edges; e != nullptr; e = e->next) {
            if (--e->to->in_degree == 0) enqueue_or_abort(&free_vertices, e->to, "%s: not enough memory (2).\n");
        }
        ++processed;
    }
    return processed >= graph->num_vertices ? 0 : -1;
}
