/* Interface manager: which interfaces a command covers, and their names. Sublists stay the manager's. */
#ifndef QARN_PLATFORM_IFMGR_H
#define QARN_PLATFORM_IFMGR_H

#include <qarncli/abi.h>
#include <qarncli/if_index_list.h>

QARN_BEGIN_DECLS

struct qarn_req;

/* Type code of a token that names interfaces. */
#define IF_TOKEN_TYPE_INTERFACE 0x40200002u

/* 0 and the chain of sublists that the request selects; flag 0 when the command names interfaces. */
uint32_t if_manager_ifindex_list_get(struct qarn_req *req, struct ifindex_sublist **head, uint32_t flag);
/* 0 and the sublist of an interface block element, or non-zero. */
uint32_t if_manager_ifindex_list_find_by_elem(struct ifindex_sublist *head, uint32_t elem_id,
                                              struct ifindex_sublist **found);
uint32_t if_index_is_port_channel_sub_interface(uint32_t if_index);
/* The name as it follows the keyword "interface". */
int32_t snprintf_if_index(char *buffer, uint32_t size, uint32_t if_index);

QARN_END_DECLS

#endif
