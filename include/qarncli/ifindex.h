/* Which interfaces a command covers. */
#ifndef QARNCLI_IFINDEX_H
#define QARNCLI_IFINDEX_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_req;

/* Ask the interface manager for the command's chains and flatten the main one into the global if_index_list. Returns
 * 0, or the interface manager's error after printing its text; the lists then keep what they held. */
QARN_EXPORT uint32_t qarn_ifindex_lists_init(struct qarn_req *req);

QARN_END_DECLS

#endif
