/* What became of the last command, for a program that must know whether a configuration is whole. What a command prints
 * and returns does not depend on it. */
#ifndef QARNCLI_OUTCOME_H
#define QARNCLI_OUTCOME_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Verdicts. */
enum {
    QARN_OUTCOME_NOTHING = 0,    /* no configuration was printed */
    QARN_OUTCOME_INCOMPLETE = 1, /* a part of it is missing or doubled */
    QARN_OUTCOME_COMPLETE = 2
};

/* Why a command ended early, or what else is missing. */
enum {
    QARN_OUTCOME_NOT_REFUSED = 0,
    QARN_OUTCOME_INVALID_REQUEST,   /* the shell did not accept the command */
    QARN_OUTCOME_INVALID_SAP,       /* the command named SAP 0 */
    QARN_OUTCOME_NOT_SUPPORTED,     /* not on this platform */
    QARN_OUTCOME_NO_CONSUMERS,      /* the transport did not list the services */
    QARN_OUTCOME_NO_INTERFACES,     /* the interface manager failed; status. The command goes on */
    QARN_OUTCOME_NO_SERVICES,       /* there is no service to ask */
    QARN_OUTCOME_NO_STARTUP,        /* no startup configuration is present */
    QARN_OUTCOME_NO_BINARY_STARTUP, /* only its text is, in which this display cannot select */
    QARN_OUTCOME_STORE_REFUSED,     /* the startup store could not be locked or released; status */
    QARN_OUTCOME_NO_MEMORY,         /* for the command, or for a part of what it prints */
    QARN_OUTCOME_TRANSPORT,         /* sending or receiving failed; status */
    QARN_OUTCOME_LOOP,              /* elements wait for each other; loop_pass and the elements */
    QARN_OUTCOME_NO_SWITCH_PROFILE, /* the configuration-sync manager failed; status, 0 if it gave no answer */
    QARN_OUTCOME_FINAL_CALLBACK,    /* the platform's final callback failed; status */
    QARN_OUTCOME_NO_VDCS,           /* the VDC manager failed; status */
    QARN_OUTCOME_PROGRAM,           /* a program that prints a part failed: cat, or a VDC's shell */
    QARN_OUTCOME_NOT_RENDERED,      /* the shell gave no text for a command message */
    QARN_OUTCOME_NOT_MERGED,        /* the port-profile manager gave no text for an interface */
    QARN_OUTCOME_NO_MEMBERS         /* the port-channel manager failed; status. 0: a channel has more than 36 members */
};

/* What became of a service. */
enum {
    QARN_OUTCOME_ANSWERED = 0,
    QARN_OUTCOME_SILENT,           /* no complete reply within the time-out */
    QARN_OUTCOME_FAILED,           /* it answered with the failure in status */
    QARN_OUTCOME_NOT_EXTRACTABLE,  /* its fragments do not fit together */
    QARN_OUTCOME_CUT_SHORT,        /* received of expected bytes came */
    QARN_OUTCOME_MISCOUNTED,       /* received of expected TLVs were read */
    QARN_OUTCOME_BROKEN,           /* decoding ended at byte `received` of `expected` */
    QARN_OUTCOME_NOT_LOADED,       /* its function in a shared library could not be found */
    QARN_OUTCOME_CALL_FAILED,      /* its function returned the failure in status */
    QARN_OUTCOME_ANSWERED_NOTHING, /* its function was called, but no reply came */
    QARN_OUTCOME_ANSWERED_TWICE,   /* two replies with texts of the same elements came: they are doubled */
    QARN_OUTCOME_SKIPPED           /* received of expected TLVs were used; the others mean nothing to the library */
};

struct qarn_outcome_service {
    uint32_t sap;
    uint32_t state;
    uint32_t status;
    uint32_t expected, received; /* see the states; bytes are those of the joined reply, status word included. For a
                                  * state that names neither, they mean nothing */
};

/* Passes over the elements. */
enum { QARN_OUTCOME_INTERFACE_PASS = 1, QARN_OUTCOME_KEY_STRING_PASS = 2, QARN_OUTCOME_LEVEL_PASS = 3 };

struct qarn_outcome_element {
    uint16_t uuid, elem_id; /* the low 16 bits of each */
};

struct qarn_outcome {
    uint32_t verdict;
    uint32_t refusal;
    uint32_t status;                         /* that the refusal came with, or 0 */
    uint32_t loop_pass;                      /* 0: there was no loop */
    uint32_t num_loop_elements;              /* 0 if memory ran out instead */
    const struct qarn_outcome_element *loop; /* each waits for the next one, the last one for the first */
    uint32_t consumers_left_out;             /* services beyond the 256 that a command can ask */
    uint32_t interfaces_left_out;            /* interfaces beyond the first 20000 */
    uint32_t num_services;
    const struct qarn_outcome_service *services; /* that were asked or answered, each once, in that order */
};

/* The outcome of the entry point that returned last; of one that is running, what is known so far. Never null. The
 * record and what it points to belong to the library, and stay as they are until the next entry point is called. A call
 * that is refused because another command is running leaves them alone. A command that runs within the final callback
 * of another has its own outcome until that callback returns. Functions below the entry points, when a program calls
 * them by themselves, write into the record of the last command. */
QARN_EXPORT const struct qarn_outcome *qarn_outcome_last(void);

QARN_END_DECLS

#endif
