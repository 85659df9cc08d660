/* What the port-profile, configuration-sync and port-channel managers receive and answer. */
#ifndef QARNCLI_MANAGERS_H
#define QARNCLI_MANAGERS_H

#include <qarncli/abi.h>

/* Passed by value to the port-profile and configuration-sync managers. */
struct ppm_merge_input {
    uint32_t cmd_code;    /* the request's; set by every generation */
    uint32_t reserved;    /* 0 */
    uint32_t script_mode; /* 1 once the shell ran a script or filter bit 0x04 was set; never cleared */
    uint32_t cfg_source;  /* 1 running, 2 startup; set by every generation */
    uint32_t bypass;      /* g_bypass_ppm is 1; set before every merge */
    uint32_t token_mode;  /* filter bit 0x04 or 0x40, or token 203 or 206; set by every generation */
};
QARN_AT(struct ppm_merge_input, cfg_source, 12);
QARN_AT(struct ppm_merge_input, token_mode, 20);
QARN_SIZE(struct ppm_merge_input, 24);

/* Answer of the configuration-sync manager. The library frees the record with free and both texts with
 * g_string_free(s, 1). */
struct qarn_sp_result {
    uint32_t status;
    GString *head_text, *sync_cfg; /* either may be null */
};
QARN_AT32(struct qarn_sp_result, head_text, 4);
QARN_SIZE32(struct qarn_sp_result, 12);

/* The port-channel manager's answer about one port channel. */
struct pc_member {
    uint32_t if_index; /* unaligned */
    uint8_t unused[3];
} QARN_PACKED;
QARN_SIZE(struct pc_member, 7);

enum { QARN_MAX_PC_MEMBERS = 36 };

struct pc_info {
    uint32_t unused0;
    uint16_t vdc_id;      /* in */
    uint32_t pc_if_index; /* in */
    uint8_t unused1[8];
    uint32_t num_members; /* out; at most 36 are read */
    uint8_t unused2[4];
    struct pc_member members[QARN_MAX_PC_MEMBERS]; /* out */
} QARN_PACKED;
QARN_AT(struct pc_info, vdc_id, 4);
QARN_AT(struct pc_info, pc_if_index, 6);
QARN_AT(struct pc_info, num_members, 18);
QARN_AT(struct pc_info, members, 26);
QARN_SIZE(struct pc_info, 278);

#endif
