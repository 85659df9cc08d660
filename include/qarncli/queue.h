/* The queue that holds elements in print order. */
#ifndef QARNCLI_QUEUE_H
#define QARNCLI_QUEUE_H

#include <qarncli/abi.h>

struct queue_node {
    void *data; /* in ordering queues a struct vertex */
    struct queue_node *next;
};
QARN_AT32(struct queue_node, next, 4);
QARN_SIZE32(struct queue_node, 8);

/* First in, first out; nodes are allocated with malloc. */
struct queue {
    struct queue_node *head, *tail;
    int32_t count;
};
QARN_AT32(struct queue, tail, 4);
QARN_AT32(struct queue, count, 8);
QARN_SIZE32(struct queue, 12);

#endif
