// The first-in-first-out queue of print order. Queues are reset, not emptied: the nodes of an earlier ordering are
// abandoned with the generation that made them.
#include <qarncli/ordering.h>

#include "base/owner.h"

void init_queue(queue *queue) {
    *queue = {};
}

int32_t enqueue(queue *queue, void *data) {
    queue_node *node = qarn::allocate<queue_node>().release();
    if (node == nullptr) return -1;
    *node = {data, nullptr};
    (queue->tail != nullptr ? queue->tail->next : queue->head) = node;
    queue->tail = node;
    return ++queue->count;
}

void *dequeue(queue *queue) {
    const qarn::Malloced<queue_node> node(queue->head);
    if (!node) return nullptr;
    queue->head = node->next;
    if (queue->head == nullptr) queue->tail = nullptr;
    --queue->count;
    return node->data;
}

void traverse(queue *queue, void (*fn)(void *data, void *arg), void *arg) {
    for (const queue_node *node = queue->head; node != nullptr; node = node->next)
        fn(node->data, arg);
}
