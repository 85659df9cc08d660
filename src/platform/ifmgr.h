/* Interface manager: which interfaces a command covers, and their names. The manager owns the sublists. */
#ifndef QARN_PLATFORM_IFMGR_H
#define QARN_PLATFORM_IFMGR_H

#include <qarncli/abi.h>
#include <qarncli/if_index_list.h>

QARN_BEGIN_DECLS

struct qarn_req;

/* Returns 0 and stores the chain of sublists that the request selects; flag is 0 when the command names interfaces. */
uint32_t if_manager_ifindex_list_get(struct qarn_req *req, struct ifindex_sublist **head, uint32_t flag);
/* Returns 0 and stores the sublist of an interface block element, or returns non-zero. */
uint32_t if_manager_ifindex_list_find_by_elem(struct ifindex_sublist *head, uint32_t elem_id,
                                              struct ifindex_sublist **found);
uint32_t if_index_is_port_channel_sub_interface(uint32_t if_index);
/* The name as it follows the keyword "interface". */
int32_t snprintf_if_index(char *buffer, uint32_t size, uint32_t if_index);

QARN_END_DECLS

#endif
