/* The dependency graph of one ordering pass. Edges run from an element to those that wait for it. Graphs belong to
 * the generation and are abandoned, never freed. A command builds them under QARN_DEBUG_GRAPH or QARN_DEBUG_DECODE;
 * otherwise it orders without edges, and the vertices in its queues have none. */
#ifndef QARNCLI_GRAPH_H
#define QARNCLI_GRAPH_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_elem;
struct qarn_merge_val;
struct vertex;

struct edge {
    struct vertex *to; /* the dependent element's vertex */
    struct edge *next;
};
QARN_AT32(struct edge, next, 4);
QARN_SIZE32(struct edge, 8);

struct vertex {
    void *data;         /* the element's qarn_merge_key */
    int32_t in_degree;  /* working count of the ordering */
    int32_t visited;    /* 1 once the ordering has placed it */
    struct edge *edges; /* newest first */
    struct vertex *next;
};
QARN_AT32(struct vertex, in_degree, 4);
QARN_AT32(struct vertex, edges, 12);
QARN_SIZE32(struct vertex, 20);

struct graph {
    struct vertex *vertices; /* newest first */
    int32_t num_vertices;
};
QARN_AT32(struct graph, num_vertices, 4);
QARN_SIZE32(struct graph, 8);

enum { QARN_EVERY_LEVEL = -1 };

/* One pass: which elements it admits, and its graph. */
struct qarn_merge_graph_info {
    int32_t level;     /* or QARN_EVERY_LEVEL */
    int32_t intf_only; /* 1 = interface elements only */
    struct graph graph;
};
QARN_AT(struct qarn_merge_graph_info, intf_only, 4);
QARN_AT(struct qarn_merge_graph_info, graph, 8);

QARN_EXPORT void init_graph(struct graph *graph);
QARN_EXPORT void qarn_merge_graph_info_init(struct qarn_merge_graph_info *info, int32_t level, int32_t intf_only);

/* 1 when the pass admits the element: the element has the level of the pass (or the pass takes QARN_EVERY_LEVEL), and
 * is an interface element if the pass takes only those. */
QARN_EXPORT int32_t qarn_merge_val_filter_check(struct qarn_merge_val *value, struct qarn_merge_graph_info *pass);

/* Both return null, and change nothing, if memory runs out. */
QARN_EXPORT struct vertex *add_vertex(struct graph *graph, void *data);
QARN_EXPORT struct edge *add_edge(struct vertex *from, struct vertex *to);

/* g_hash_table_foreach callbacks over the element store; `info` is the pass's qarn_merge_graph_info. All vertices of a
 * pass are made before its first edge. */
QARN_EXPORT void qarn_graph_vertex_add(void *key, void *value, void *info);
QARN_EXPORT void qarn_graph_edge_add(void *key, void *value, void *info);

/* 1 when one of the element's conditional dependencies names an element that exists and has text of its own. */
QARN_EXPORT int32_t qarn_conditional_dependency_verify(const struct qarn_elem *elem);

QARN_END_DECLS

#endif
