/* The table of services that answer through a function in a shared library, and what such a function receives. */
#ifndef QARNCLI_CALLBACK_TABLE_H
#define QARNCLI_CALLBACK_TABLE_H

#include <qarncli/abi.h>

struct mts_msg;

/* Flags of a callback table row. */
enum {
    QARN_CB_FLAG_FALLBACK = 0x01, /* only when the service does not answer on the transport itself */
    QARN_CB_FLAG_STARTUP = 0x02,  /* serves the startup configuration */
    QARN_CB_FLAG_RUNNING = 0x04   /* serves the running configuration */
};

/* One row of the companion configuration library's table. */
struct qarn_cfg_cb_entry {
    uint32_t unused;
    int32_t sap; /* 0 or less: the function belongs to no SAP */
    char func_name[128];
    char lib_name[128];
    uint32_t flags;
};
QARN_AT(struct qarn_cfg_cb_entry, sap, 4);
QARN_AT(struct qarn_cfg_cb_entry, func_name, 8);
QARN_AT(struct qarn_cfg_cb_entry, lib_name, 136);
QARN_AT(struct qarn_cfg_cb_entry, flags, 264);
QARN_SIZE(struct qarn_cfg_cb_entry, 268);

/* What every invoked function receives, by address; valid during the call. */
struct qarn_cb_args {
    uint32_t mts_handle;
    struct mts_msg *msg; /* the received request message */
    uint32_t zero;
};
QARN_AT32(struct qarn_cb_args, msg, 4);
QARN_AT32(struct qarn_cb_args, zero, 8);
QARN_SIZE32(struct qarn_cb_args, 12);

#endif
