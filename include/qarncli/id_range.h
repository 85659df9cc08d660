/* VLAN and VSAN sets: the 4096-bit mask, its filling from a command's ranges, and the range lines. */
#ifndef QARNCLI_ID_RANGE_H
#define QARNCLI_ID_RANGE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_req;

/* A set of ids 0..4095. Id n is bit 0x80 >> (n & 7) of bits[n >> 3]. */
struct qarn_id_mask {
    uint32_t len; /* bytes in `bits`; always written as 512, never consulted */
    uint8_t bits[512];
};
QARN_AT(struct qarn_id_mask, bits, 4);
QARN_SIZE(struct qarn_id_mask, 516);

/* Fill the VSAN mask of the request message: the VSANs that a VSAN display names, less those that req->vsan_mask does
 * not allow; every id for any other display or without a token. Ids outside 0..4095 are left out. */
QARN_EXPORT void qarn_vsan_mask_populate(struct qarn_req *req, struct qarn_id_mask *mask);

/* Fill the VLAN mask of the request message: the VLANs that a VLAN display names, every id otherwise. Always sets
 * req->vlan_mask to every id as well. */
QARN_EXPORT void qarn_vlan_mask_populate(struct qarn_req *req, struct qarn_id_mask *mask);

/* Print one line that names the set as ranges, such as "vlan 1-5,7,10-12"; an empty set gives the line without a
 * range. One call of the output routine each, whatever the length of the text. */
QARN_EXPORT void qarn_vlan_mask_print(const struct qarn_id_mask *mask);
QARN_EXPORT void qarn_vlan_config_mask_print(const struct qarn_id_mask *mask);
QARN_EXPORT void qarn_vsan_mask_print(const struct qarn_id_mask *mask);

QARN_END_DECLS

#endif
