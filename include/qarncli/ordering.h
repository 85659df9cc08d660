/* From a graph to a queue in print order, and the operations of queues. */
#ifndef QARNCLI_ORDERING_H
#define QARNCLI_ORDERING_H

#include <qarncli/abi.h>
#include <qarncli/graph.h>
#include <qarncli/queue.h>

QARN_BEGIN_DECLS

QARN_EXPORT void init_queue(struct queue *queue);
QARN_EXPORT int32_t enqueue(struct queue *queue, void *data); /* the new count, or -1 if out of memory */
QARN_EXPORT void *dequeue(struct queue *queue);               /* the head's data, its node freed; null when empty */

/* Call fn(data, arg) for every node from head to tail. */
QARN_EXPORT void traverse(struct queue *queue, void (*fn)(void *data, void *arg), void *arg);

/* Order the graph into the queue, each element after those that it depends on, by sweeps over the vertices in ascending
 * (uuid, elem_id). Returns 0, or -1 if there is a loop (the queue then holds what could be placed) or memory runs
 * out. */
QARN_EXPORT int32_t visit2(struct graph *graph, struct queue *queue);

/* Like visit2, but first in, first out instead of sweeps; same return values. Aborts the process if memory runs out. */
QARN_EXPORT int32_t visit(struct graph *graph, struct queue *queue);

/* qsort comparator over struct vertex pointers: uuid, then elem_id, unsigned. */
QARN_EXPORT int uuid_elem_cmp_fn(const void *a, const void *b);

/* Listings on standard output. */
QARN_EXPORT void print_list(struct vertex **array, int32_t n);
QARN_EXPORT void print_queue(const struct queue *queue);

QARN_END_DECLS

#endif
