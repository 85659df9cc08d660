/* The set of VLAN or VSAN ids that requests, messages and printers share. */
#ifndef QARNCLI_ID_MASK_H
#define QARNCLI_ID_MASK_H

#include <qarncli/abi.h>

/* A set of ids 0..4095. Id n is bit 0x80 >> (n & 7) of bits[n >> 3]. */
struct qarn_id_mask {
    uint32_t len; /* bytes in `bits`; always written as 512, never consulted */
    uint8_t bits[512];
};
QARN_AT(struct qarn_id_mask, bits, 4);
QARN_SIZE(struct qarn_id_mask, 516);

#endif
