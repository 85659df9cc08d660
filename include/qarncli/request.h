/* The generation request: a display command as the shell has parsed it. The shell owns the request, its tokens and
 * their values; the library reads them and writes the fields marked "written". */
#ifndef QARNCLI_REQUEST_H
#define QARNCLI_REQUEST_H

#include <qarncli/abi.h>
#include <qarncli/id_mask.h>

QARN_BEGIN_DECLS

enum { QARN_MAX_TOKENS = 64 };

/* Token ids that the library treats specially. */
enum {
    QARN_TOKEN_FORWARDED_FIRST = 117, /* ids from FIRST to LAST are sent to the services as token_id */
    QARN_TOKEN_FORWARDED_LAST = 152,
    QARN_TOKEN_MEMBERSHIP = 167, /* interface display with the members of port channels */
    QARN_TOKEN_NO_PROFILE_MERGE = 202,
    QARN_TOKEN_SYNC_BODY = 203,     /* switch profile without its head text; the ASCII startup file is not shown */
    QARN_TOKEN_EXTRA_RUNNING = 204, /* forwarded as extra_opt of running displays */
    QARN_TOKEN_EXTRA_STARTUP = 205, /* forwarded as extra_opt of startup displays */
    QARN_TOKEN_SYNC_PLAIN = 206,    /* switch profile without its "configure sync" frame */
    QARN_TOKEN_COMMAND_109 = 2060   /* counts as no extra token in command 109 */
};

/* Token type of interfaces: if the first token of an interface display has it, only the named ones are shown. */
#define QARN_TOKEN_TYPE_INTERFACE 0x40200002u

/* One token of the command. A token without a value means no ranges, an empty name or SAP 0. */
struct qarn_req_token {
    uint32_t id;
    uint32_t type;
    uint32_t unused[2];
    void *value; /* u32 (a SAP), NUL-terminated text (a port profile) or qarn_range_list (VLANs, VSANs) */
};
QARN_AT32(struct qarn_req_token, value, 16);
QARN_SIZE32(struct qarn_req_token, 20);

/* The ranges that a VLAN or VSAN display names, both ends inclusive; a pair with low above high names nothing. */
QARN_FLEX_BEGIN
struct qarn_range_list {
    uint32_t unused;
    uint32_t count;
    struct {
        int32_t low, high;
    } range[];
};
QARN_FLEX_END
QARN_AT(struct qarn_range_list, range, 8);

/* Values of the global cfg_display: the subset that is shown. */
enum {
    QARN_DISPLAY_ALL = 0,
    QARN_DISPLAY_VSAN = 1,
    QARN_DISPLAY_VLAN = 2,
    QARN_DISPLAY_INTERFACE = 3,
    QARN_DISPLAY_PROFILE = 6,
    QARN_DISPLAY_BFD = 7,
    QARN_DISPLAY_L2MP = 8,
    QARN_DISPLAY_NO_L2MP = 9,
    QARN_DISPLAY_FEX = 10,
    QARN_DISPLAY_NO_FEX = 11,
    QARN_DISPLAY_TEMPLATE = 16
};

/* Bits of qarn_req.info_flags. */
enum {
    QARN_INFO_VSANS_SHOWN = 0x01, /* written: vsan_mask holds the VSANs shown */
    QARN_INFO_STARTUP = 0x02,     /* written: the startup configuration is shown */
    QARN_INFO_PLAIN = 0x04,       /* by the shell: no display conversion, no final callback */
    QARN_INFO_VLANS_SHOWN = 0x10, /* written: vlan_mask holds the VLANs shown */
    QARN_INFO_EXTRA_OPT = 0x20    /* written: token 204 (running) or 205 (startup) was given */
};

/* Values of qarn_req.sap that are not SAPs. */
#define QARN_SAP_NONE 0u               /* no service is named */
#define QARN_SAP_ALL_CONSUMERS 1u      /* every consumer of the request opcode */
#define QARN_SAP_TABLE_ROW 0xffffffffu /* row `index` of the shell's SAP and feature tables */

/* Values of qarn_req.cmd_code in displays of all VDCs. */
enum {
    QARN_COMMAND_RUNNING_VDCS = 163,
    QARN_COMMAND_RUNNING_ALL_VDCS = 164, /* with defaults */
    QARN_COMMAND_STARTUP_VDCS = 165
};

/* Bits of g_cli_generic_option, which the shell sets for the duration of a command. */
enum {
    QARN_OPTION_SAVED_NOW = 0x04, /* a running display gets the header of a startup display saved now */
    QARN_OPTION_CHECKPOINT = 0x10 /* the display is a checkpoint: every VLAN has a header of its own */
};

struct qarn_req {
    uint8_t num_tokens;    /* valid entries of `tokens`; at most 64 are read */
    uint32_t sap;          /* QARN_SAP_NONE, _ALL_CONSUMERS, _TABLE_ROW or a SAP; written */
    uint32_t index;        /* row of the shell's SAP and feature tables, 0 = none */
    uint32_t modlist_flag; /* non-zero: list the startup modules */
    uint32_t gen_started;  /* written: 1 once a generation has begun */
    uint32_t mts_handle;   /* the shell's message transport handle */
    uint32_t cmd_code;
    char startup_uri[528]; /* written in startup displays: base URI of the startup store */
    struct qarn_req_token *tokens[QARN_MAX_TOKENS];
    uint32_t valid; /* 1 when the shell accepted the command */
    uint32_t svc_flags;
    struct qarn_id_mask vsan_mask; /* in: VSANs that may be shown; written: VSANs shown */
    struct qarn_id_mask vlan_mask; /* written: VLANs shown */
    uint32_t info_flags;
    uint32_t dbg_mask;
    char cmd_line[1024]; /* as typed, NUL-terminated */
    void *modlist;       /* written: the line-card manager's module list, owned by the platform */
};
QARN_AT(struct qarn_req, sap, 4);
QARN_AT(struct qarn_req, startup_uri, 28);
QARN_AT32(struct qarn_req, tokens, 556);
QARN_AT32(struct qarn_req, valid, 812);
QARN_AT32(struct qarn_req, vsan_mask, 820);
QARN_AT32(struct qarn_req, info_flags, 1852);
QARN_AT32(struct qarn_req, modlist, 2884);
QARN_SIZE32(struct qarn_req, 2888);

QARN_END_DECLS

#endif
