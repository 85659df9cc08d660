/* Reassembly of replies: the fragments of all services arrive interleaved and are joined per SAP in msg_table_p. */
#ifndef QARNCLI_REPLY_TABLE_H
#define QARNCLI_REPLY_TABLE_H

#include <qarncli/abi.h>
#include <qarncli/message.h>

QARN_BEGIN_DECLS

/* An incomplete reply; both the key and the value of its entry in msg_table_p. Owned by the table until
 * qarn_msg_table_get. */
struct qarn_msg_entry {
    uint32_t sap; /* the key: a look-up passes a pointer to a bare SAP */
    uint32_t total_len;
    uint32_t filled;
    void *buf; /* total_len bytes and a zeroed guard; null once the reply is broken */
};
QARN_AT32(struct qarn_msg_entry, buf, 12);
QARN_SIZE32(struct qarn_msg_entry, 16);

/* Add one fragment. Data that would run past the first fragment's total_len, or a total_len that leaves no room for
 * the status word, breaks the reply: no part of it is handed over. If memory for a first fragment runs out, the
 * fragment is dropped silently. */
QARN_EXPORT void qarn_msg_table_add(const struct qarn_cfg_frag *frag);

/* Hand the joined reply of `sap` over through `reply` (the caller frees it with free) and forget it; null when there
 * is none or it was broken. */
QARN_EXPORT void qarn_msg_table_get(uint32_t sap, void **reply);

QARN_END_DECLS

#endif
