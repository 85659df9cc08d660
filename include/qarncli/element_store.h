/* The element store merge_elem_table_p: every element of one generation, one entry per key. */
#ifndef QARNCLI_ELEMENT_STORE_H
#define QARNCLI_ELEMENT_STORE_H

#include <qarncli/abi.h>
#include <qarncli/element.h>

QARN_BEGIN_DECLS

struct vertex;

/* Key of an entry, hashed and compared as one 32-bit integer. Vertices point to it. */
struct qarn_merge_key {
    uint16_t uuid, elem_id; /* low 16 bits of the element's */
};
QARN_AT(struct qarn_merge_key, elem_id, 2);
QARN_SIZE(struct qarn_merge_key, 4);

struct qarn_merge_val {
    struct qarn_elem *elem;
    struct vertex *vertex; /* the element's vertex in the pass being built; null in a new entry */
};
QARN_AT32(struct qarn_merge_val, vertex, 4);
QARN_SIZE32(struct qarn_merge_val, 8);

/* The entry of (low 16 bits of uuid, low 16 bits of elem_id) in merge_elem_table_p, or null. */
QARN_EXPORT struct qarn_merge_val *qarn_merge_value_get(uint32_t uuid, uint32_t elem_id);

/* Insert `elem` under (uuid, elem->elem_id). If the key is in the table already, the table keeps its key object, and
 * the key gets a new value without a vertex. Does nothing if memory runs out. */
QARN_EXPORT void qarn_merge_hash_insert(uint32_t uuid, struct qarn_elem *elem, GHashTable *table);

/* Remove the entry of (uuid, elem->elem_id), if there is one. Frees nothing that the table holds. */
QARN_EXPORT void qarn_merge_hash_remove(uint32_t uuid, struct qarn_elem *elem, GHashTable *table);

QARN_END_DECLS

#endif
