/* What travels between the library and the services: one request message to every service that is asked, and the
 * fragments of each service's reply. All integers are in host byte order. Texts are zero-filled and NUL-terminated
 * when shorter than their field; a text as long as its field or longer is cut and has no NUL. */
#ifndef QARNCLI_MESSAGE_H
#define QARNCLI_MESSAGE_H

#include <qarncli/abi.h>
#include <qarncli/id_mask.h>

QARN_BEGIN_DECLS

enum {
    QARN_OPC_REQUEST = 7663, /* carries a qarn_cfg_req_msg */
    QARN_OPC_REPLY = 7664    /* carries a qarn_cfg_frag */
};

enum { QARN_SOURCE_RUNNING = 1, QARN_SOURCE_STARTUP = 2 };

/* The startup store's base URI in running displays, and when the store names none. */
#define QARN_DEFAULT_STARTUP_URI "readonly:/var/sysmgr/startup-cfg"

QARN_FLEX_BEGIN
struct qarn_cfg_req_msg {
    uint32_t src_sap; /* SAP of the requester: replies go there */
    struct qarn_id_mask vsan_mask;
    struct qarn_id_mask vlan_mask;
    uint32_t reserved;     /* 0 */
    uint32_t flags;        /* qarn_req.svc_flags, 0x100 added by the library */
    uint32_t cfg_source;   /* QARN_SOURCE_RUNNING or QARN_SOURCE_STARTUP */
    uint32_t display_type; /* 0, 4, 5, 12, 13, 14 or 15: the display variant of the command code */
    uint32_t display;      /* cfg_display */
    uint32_t extra_opt;    /* 1 when token 204 (running) or 205 (startup) was given */
    uint32_t token_id;     /* cmd_token_id when it lies in 117..152, else 0 */
    uint32_t num_ifindex;  /* entries of ifindex_list */
    uint32_t target;       /* 0 all, 1 all in feature mode, a table row, or the one SAP */
    uint32_t excl_saps[256];
    uint32_t num_excl_saps;
    char startup_uri[256];
    char profile_name[128];
    char cmd_line[256]; /* at most 255 bytes of text */
    uint32_t ifindex_list[];
};
QARN_AT(struct qarn_cfg_req_msg, src_sap, 0);
QARN_AT(struct qarn_cfg_req_msg, vsan_mask, 4);
QARN_AT(struct qarn_cfg_req_msg, vlan_mask, 520);
QARN_AT(struct qarn_cfg_req_msg, reserved, 1036);
QARN_AT(struct qarn_cfg_req_msg, flags, 1040);
QARN_AT(struct qarn_cfg_req_msg, cfg_source, 1044);
QARN_AT(struct qarn_cfg_req_msg, display_type, 1048);
QARN_AT(struct qarn_cfg_req_msg, display, 1052);
QARN_AT(struct qarn_cfg_req_msg, extra_opt, 1056);
QARN_AT(struct qarn_cfg_req_msg, token_id, 1060);
QARN_AT(struct qarn_cfg_req_msg, num_ifindex, 1064);
QARN_AT(struct qarn_cfg_req_msg, target, 1068);
QARN_AT(struct qarn_cfg_req_msg, excl_saps, 1072);
QARN_AT(struct qarn_cfg_req_msg, num_excl_saps, 2096);
QARN_AT(struct qarn_cfg_req_msg, startup_uri, 2100);
QARN_AT(struct qarn_cfg_req_msg, profile_name, 2356);
QARN_AT(struct qarn_cfg_req_msg, cmd_line, 2484);
QARN_AT(struct qarn_cfg_req_msg, ifindex_list, 2740);
QARN_SIZE(struct qarn_cfg_req_msg, 2740);

/* One message of a service's answer. The data of all fragments of one SAP, in arrival order, is its qarn_cfg_reply.
 * Owned by the transport: copy what you keep before mts_drop. */
struct qarn_cfg_frag {
    uint32_t last;      /* non-zero on this SAP's last fragment */
    uint32_t total_len; /* bytes of the whole reply; only the first fragment's value counts */
    uint32_t sap;       /* SAP of the service that answers */
    uint32_t len;       /* bytes of data after this header */
    unsigned char data[];
};
QARN_AT(struct qarn_cfg_frag, last, 0);
QARN_AT(struct qarn_cfg_frag, total_len, 4);
QARN_AT(struct qarn_cfg_frag, sap, 8);
QARN_AT(struct qarn_cfg_frag, len, 12);
QARN_AT(struct qarn_cfg_frag, data, 16);

struct qarn_cfg_reply {
    uint32_t status;      /* 0, or the service's error code: then the rest is ignored */
    unsigned char tlvs[]; /* the platform's TLV array */
};
QARN_AT(struct qarn_cfg_reply, tlvs, 4);
QARN_FLEX_END

QARN_END_DECLS

#endif
