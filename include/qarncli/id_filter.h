/* Which VLANs and VSANs a command asks for: the masks of the request message. */
#ifndef QARNCLI_ID_FILTER_H
#define QARNCLI_ID_FILTER_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_id_mask;
struct qarn_req;

/* Fill the VSAN mask of the request message: the VSANs that a VSAN display names, less those that req->vsan_mask does
 * not allow; every id for any other display or without a token. Ids outside 0..4095 are left out. */
QARN_EXPORT void qarn_vsan_mask_populate(struct qarn_req *req, struct qarn_id_mask *mask);

/* Fill the VLAN mask of the request message: the VLANs that a VLAN display names, every id otherwise. Always sets
 * req->vlan_mask to every id as well. */
QARN_EXPORT void qarn_vlan_mask_populate(struct qarn_req *req, struct qarn_id_mask *mask);

QARN_END_DECLS

#endif
