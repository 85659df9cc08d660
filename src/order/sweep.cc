// From a graph to a queue in print order. visit2 orders by sweeps: a sweep walks the vertices in ascending (uuid,
// elem_id) and places every vertex that waits for no unplaced one; sweeps repeat until one places nothing. A chain that
// runs against the key order would need as many sweeps as it has vertices. The sweeps are therefore not walked: each
// vertex's sweep is computed, and the vertices are placed sweep by sweep. A command mostly needs no graph: it finds the
// same order from its rows (row_order.h). visit is the plain first-in-first-out ordering, for callers outside
// the library.
#include <qarncli/element_store.h>
#include <qarncli/ordering.h>
#include <qarncli/status.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/owner.h"
#include "base/trace.h"

namespace qarn {
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

// The working memory of one ordering: the vertices in ascending key order, and for each of them, by its position, the
// sweep that places it.
//
// A vertex is placed in the same sweep as its predecessor when the predecessor comes first in key order, else in the
// next sweep. So a vertex's sweep is the greatest, over its predecessors, of the predecessor's sweep, plus 1 where the
// predecessor comes later in key order. One topological pass finds all sweeps; a vertex that waits for a loop gets
// none.
class Sweeps {
  public:
    // False if memory runs out.
    bool make_room(int32_t count) {
        const auto size = static_cast<std::size_t>(count);
        sorted_ = allocate<vertex *>(size * sizeof(vertex *));
        numbers_ = allocate<int32_t>(size * 3 * sizeof(int32_t));
        if (!sorted_ || !numbers_) return false;
        count_ = count;
        vertices_ = sorted_.get();
        sweep_of_ = numbers_.get();
        first_ = sweep_of_ + count;
        next_ = first_ + count;
        return true;
    }

    // The newest vertex is the list's first; vertices that were added in key order need no sorting.
    void sort(const graph &graph) {
        vertex **begin = vertices_ + count_;
        for (vertex *v = graph.vertices; v != nullptr; v = v->next)
            *--begin = v;
        if (is_sorted()) return;
        std::qsort(vertices_, static_cast<std::size_t>(count_), sizeof(vertex *), uuid_elem_cmp_fn);
    }
    vertex **vertices() { return vertices_; }

    // Find every vertex's sweep. Afterwards `visited` is 1 for each vertex that has a sweep. Returns the number of
    // sweeps that place something.
    int32_t number() {
        number_topologically();
        std::fill_n(first_, count_, kNone);
        int32_t sweeps = 0;
        for (int32_t at = count_ - 1; at >= 0; --at) {
            vertices_[at]->visited = vertices_[at]->in_degree == 0 ? 1 : 0;
            if (vertices_[at]->visited == 0) continue;
            next_[at] = first_[sweep_of_[at]];
            first_[sweep_of_[at]] = at;
            sweeps = std::max(sweeps, sweep_of_[at] + 1);
        }
        return sweeps;
    }

    // Append the vertices of one sweep, in key order; returns their number. A vertex counts even if memory for its
    // queue node runs out.
    int32_t place(int32_t sweep, queue *queue) {
        int32_t placed = 0;
        for (int32_t at = first_[sweep]; at != kNone; at = next_[at], ++placed)
            enqueue(queue, vertices_[at]);
        return placed;
    }

  private:
    static constexpr int32_t kNone = -1;

    bool is_sorted() const {
        return std::is_sorted(vertices_, vertices_ + count_,
                              [](vertex *const &a, vertex *const &b) { return uuid_elem_cmp_fn(&a, &b) < 0; });
    }

    // A vertex whose in_degree is not 0 afterwards waits for a loop. `visited` holds a vertex's position meanwhile.
    void number_topologically() {
        int32_t *free_vertices = next_; // not needed for its own purpose yet
        int32_t known = 0;
        for (int32_t at = 0; at < count_; ++at) {
            sweep_of_[at] = 0;
            vertices_[at]->visited = at;
            if (vertices_[at]->in_degree == 0) free_vertices[known++] = at;
        }
        for (int32_t done = 0; done < known; ++done) {
            const int32_t from = free_vertices[done];
            for (const edge *e = vertices_[from]->edges; e != nullptr; e = e->next) {
                const bool is_free = --e->to->in_degree == 0;
                const int32_t to = e->to->visited;
                if (!is_at(e->to, to)) continue; // a vertex of another graph
                sweep_of_[to] = std::max(sweep_of_[to], sweep_of_[from] + (from > to ? 1 : 0));
                if (is_free) free_vertices[known++] = to;
            }
        }
    }

    bool is_at(const vertex *v, int32_t at) const { return at >= 0 && at < count_ && vertices_[at] == v; }

    int32_t count_ = 0;
    Malloced<vertex *> sorted_;
    Malloced<int32_t> numbers_;
    vertex **vertices_ = nullptr;
    int32_t *sweep_of_ = nullptr;
    int32_t *first_ = nullptr; // first position of each sweep
    int32_t *next_ = nullptr;  // next position of the same sweep
};

void print_key(const vertex &vertex) {
    std::printf("(%d,%d) ", key_of(vertex).uuid, key_of(vertex).elem_id);
}

void enqueue_or_abort(queue *queue, vertex *v, const char *complaint) {
    if (enqueue(queue, v) >= 0) return;
    std::fprintf(stderr, complaint, "visit");
    std::abort();
}

} // namespace
} // namespace qarn

int uuid_elem_cmp_fn(const void *a, const void *b) {
    const qarn_merge_key &left = qarn::key_of(**static_cast<vertex *const *>(a));
    const qarn_merge_key &right = qarn::key_of(**static_cast<vertex *const *>(b));
    if (left.uuid != right.uuid) return left.uuid < right.uuid ? -1 : 1;
    if (left.elem_id != right.elem_id) return left.elem_id < right.elem_id ? -1 : 1;
    return 0;
}

void print_list(vertex **array, int32_t n) {
    std::printf("Sorted list:\n");
    for (int32_t i = 0; i < n; ++i)
        qarn::print_key(*array[i]);
    std::printf("\n");
    std::fflush(stdout);
}

void print_queue(const queue *queue) {
    std::printf("Element Queue:\n");
    for (const queue_node *node = queue->head; node != nullptr; node = node->next) {
        qarn::print_key(*static_cast<const vertex *>(node->data));
    }
    std::printf("\n");
    std::fflush(stdout);
}

int32_t visit2(graph *graph, queue *queue) {
    init_queue(queue);
    if (graph->vertices == nullptr) return 0;
    qarn::count_in_degrees(*graph);

    const int32_t count = graph->num_vertices;
    qarn::Sweeps sweeps;
    if (!sweeps.make_room(count)) return -1;
    sweeps.sort(*graph);
    if (qarn::debugging(QARN_DEBUG_DECODE)) print_list(sweeps.vertices(), count);

    const int32_t last = sweeps.number();
    int32_t placed = 0;
    for (int32_t sweep = 0; sweep < last; ++sweep) {
        placed += sweeps.place(sweep, queue);
        if (qarn::debugging(QARN_DEBUG_DECODE)) print_queue(queue);
    }
    if (placed == count) return 0;
    if (qarn::debugging(QARN_DEBUG_DECODE)) print_queue(queue); // the sweep that finds nothing free
    return -1;
}

int32_t visit(graph *graph, queue *queue) {
    struct queue free_vertices;
    init_queue(&free_vertices);
    init_queue(queue);
    qarn::count_in_degrees(*graph);
    for (vertex *v = graph->vertices; v != nullptr; v = v->next) {
        if (v->in_degree == 0) qarn::enqueue_or_abort(&free_vertices, v, "%s: not enough memory.\n");
    }
    int32_t processed = 0;
    while (auto *v = static_cast<vertex *>(dequeue(&free_vertices))) {
        if (v->visited != 1) enqueue(queue, v);
        v->visited = 1;
        for (const edge *e = v->edges; e != nullptr; e = e->next) {
            if (--e->to->in_degree == 0) qarn::enqueue_or_abort(&free_vertices, e->to, "%s: not enough memory (2).\n");
        }
        ++processed;
    }
    return processed >= graph->num_vertices ? 0 : -1;
}
