/* Lists of interface indexes: the interface manager's chains, and the one list that travels to the services. */
#ifndef QARNCLI_IF_INDEX_LIST_H
#define QARNCLI_IF_INDEX_LIST_H

#include <qarncli/abi.h>

/* Made and owned by the interface manager: the interfaces of one interface block element. */
struct ifindex_sublist {
    uint32_t unused[2];
    uint32_t elem_id;
    int32_t count;
    uint32_t *ifindexes; /* in display order */
    struct ifindex_sublist *next;
};
QARN_AT(struct ifindex_sublist, elem_id, 8);
QARN_AT(struct ifindex_sublist, count, 12);
QARN_AT32(struct ifindex_sublist, ifindexes, 16);
QARN_AT32(struct ifindex_sublist, next, 20);
QARN_SIZE32(struct ifindex_sublist, 24);

/* All interfaces of the main chain, in chain order. */
struct if_index_list {
    uint32_t count;
    uint32_t *ifindexes; /* `count` indexes; allocated with malloc, abandoned by the next generation */
};
QARN_AT32(struct if_index_list, ifindexes, 4);
QARN_SIZE32(struct if_index_list, 8);

/* The maximum number of indexes in if_index_list. */
enum { QARN_MAX_IFINDEXES = 20000 };

#endif
