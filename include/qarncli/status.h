/* Status codes of the platform's error space that the library returns (0 is success; syserr2str gives the text), and
 * the bits of the debug mask. */
#ifndef QARNCLI_STATUS_H
#define QARNCLI_STATUS_H

#include <qarncli/abi.h>

enum {
    QARN_STATUS_FAILED = 0x405f0001,    /* allocation, consumer list, failing or silent service, loop, switch profile */
    QARN_STATUS_NO_MEMORY = 0x405f0005, /* decoder: an allocation failed */
    QARN_STATUS_NO_PAYLOAD = 0x405f0006,  /* decoder: a command message without a value */
    QARN_STATUS_BAD_MESSAGE = 0x405f0007, /* decoder: a command message with a wrong stamp or length */
    QARN_STATUS_INVALID = 0x40540022,     /* the shell did not accept the command */
    QARN_STATUS_NO_STARTUP = 0x40540025   /* no startup configuration present */
};

/* A transport failure keeps the low 12 bits of errno. */
#define QARN_STATUS_TRANSPORT(err) (((uint32_t)(err)&0xfffu) | 0x805f0000u)

/* Bits of qarn_req.dbg_mask, copied into the global `debug` by every generation. */
enum {
    QARN_DEBUG_COLLECT = 0x01,    /* service selection and collection, in-process invocations */
    QARN_DEBUG_DECODE = 0x02,     /* decoding, levels, ordering and placeholder listings */
    QARN_DEBUG_INTERFACE = 0x04,  /* interface indexes and interface texts */
    QARN_DEBUG_GRAPH = 0x08,      /* graph building */
    QARN_DEBUG_LOOKUP = 0x10,     /* look-ups of the interface printer */
    QARN_DEBUG_NO_TIMEOUT = 0x20, /* no trace: wait for replies without a time-out */
    QARN_DEBUG_STORE = 0x40,      /* startup store, fragments, key tables, exception log */
    QARN_DEBUG_PRINT = 0x80       /* element printing and command messages, into the output itself */
};

#endif
