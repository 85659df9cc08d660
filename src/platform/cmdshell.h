/* Command shell: its tables and option words, the interface filter, and the renderer of command messages. */
#ifndef QARN_PLATFORM_CMDSHELL_H
#define QARN_PLATFORM_CMDSHELL_H

#include <qarncli/abi.h>
#include <qarncli/id_mask.h>

QARN_BEGIN_DECLS

enum {
    SHOW_TABLE_ROWS = 17,
    SHOW_SAP_SLOTS = 10,     /* words 1..10 of a SAP table row; 0 = empty */
    SHOW_SAP_KEY_WORD = 11,  /* the row's key word */
    SHOW_FEATURE_PAIRS = 10, /* (uuid, elem_id) pairs from word 1 of a feature table row */
    CMD_REPLY_BUFFER_SIZE = 16000
};

/* Bits of g_cli_execution_filter_mode that the library tests. */
enum {
    CLI_FILTER_SCRIPT = 0x04,
    CLI_FILTER_SWITCH_PROFILE = 0x08,
    CLI_FILTER_SYNC_FRAME = 0x40,
    CLI_FILTER_NO_SWITCH_PROFILE = 0x80,
    CLI_FILTER_NO_PROFILE_MERGE = 0x200
};
/* Bits of g_cli_generic_option. */
enum { CLI_OPTION_SAVED_NOW = 0x04, CLI_OPTION_CHECKPOINT = 0x10 };

extern uint32_t show_sap_table[SHOW_TABLE_ROWS][12];
extern uint32_t show_feature_table[SHOW_TABLE_ROWS][21];
extern uint32_t g_cli_execution_filter_mode, g_cli_script_mode, g_cli_generic_option;
extern uint32_t cmd_output_format; /* 1: XML */
extern uint32_t cmd_debug_flags;   /* written before a rendering */

/* Non-zero when the interface is shown in the current filtered display. */
uint32_t vsh_is_interface_display_allowed(uint32_t handle, const struct qarn_id_mask *vsan_mask, uint32_t if_index);

/* A render handle is a 40-byte prefix followed by a command message. */
uint32_t cmd_show_run_opt(void *buffer);                     /* renders and prints */
uint32_t cmd_show_run_opt_cr(void *buffer, uint32_t option); /* renders into g_clistr */
void sr_cmds_cleanup(void);                                  /* after every rendering */
void init_global_tlv_vars(void);                             /* before each rendering */
void reset_global_tlv_vars(void);

/* Builds a command reply in the buffer; null when it cannot. */
void *cmd_req_init(void *buffer, uint32_t size);
uint32_t cmd_rep_attr_add(void *handle, uint32_t attribute, const void *value, uint32_t length);
/* Completes it: the word at 36 of the handle is then a pointer to the reply buffer, unaligned. The buffer's u32 words
 * at 36 and 44 are start and end position of what was written; the message begins at its byte 56. */
uint32_t cmd_rep_flush(void *handle);
enum { CMD_REP_BUFFER_AT = 36, CMD_REP_START_AT = 36, CMD_REP_END_AT = 44, CMD_REP_MESSAGE_AT = 56 };

typedef void (*cmd_xml_render_fn)(void *handle, uint32_t, void *user_data);
extern cmd_xml_render_fn g_cmd_xml_info[]; /* entry 2 renders and writes */
extern void *g_user_data;

struct cmd_clistr {
    char *str;
    int32_t len;
};
QARN_AT32(struct cmd_clistr, len, 4);
QARN_SIZE32(struct cmd_clistr, 8);
extern struct cmd_clistr *g_clistr; /* text of the last rendering */

QARN_END_DECLS

#endif
