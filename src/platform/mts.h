/* Message transport: messages by SAP (service access point) and opcode. A handle belongs to the shell and has a SAP of
 * its own. Calls that fail return non-zero (the consumer list: a negative number) and set errno. */
#ifndef QARN_PLATFORM_MTS_H
#define QARN_PLATFORM_MTS_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

enum { MTS_CONSUMER_CAPACITY = 256 };
#define MTS_ADDRESS_LOCAL 0xfe000000u /* destination of every send: this switch */

/* Receive options: word 0 = 1, word 2 = time-out (0 = without limit), word 5 = the opcode wanted, others 0. */
struct qarn_recv_opts {
    uint32_t word[10];
};
QARN_SIZE(struct qarn_recv_opts, 40);
enum { MTS_OPT_ENABLE = 0, MTS_OPT_TIMEOUT = 2, MTS_OPT_OPCODE = 5 };

/* The transport's own record of a received message. */
struct mts_msg {
    QARN_ALIGNAS(8) unsigned char opaque[64];
};

/* Writes the SAPs that consume `opcode`, at most `capacity`, and returns their number. */
int32_t mts_opc_consumers_list(uint32_t handle, uint32_t opcode, uint32_t *consumers, uint32_t capacity);
uint32_t mts_sap_get(uint32_t handle);
/* SAP 0 stands for every consumer of the opcode. */
int32_t mts_send(uint32_t handle, uint32_t address, uint32_t sap, uint32_t opcode, const void *payload, uint32_t length,
                 uint32_t, uint32_t, uint32_t);
/* Sets errno to ETIME when the time-out passed without a message. A message lives until mts_drop. */
int32_t mts_recv(uint32_t handle, struct mts_msg *msg, const struct qarn_recv_opts *opts);
void *mts_payload_get(struct mts_msg *msg);
int32_t mts_drop(uint32_t handle, struct mts_msg *msg);

QARN_END_DECLS

#endif
