/* The entry points: one per display command of the shell. Each takes the parsed command and returns 0 for success, 1
 * for failure; what went wrong has then been printed through the output routine or, for the transport, on standard
 * error.
 *
 * One command at a time in a process: an entry point (qarn_generate too) that is called while another one runs prints
 * nothing, writes one line to standard error, changes nothing and returns 1. The platform's final callback is the one
 * moment at which a second command may run: the first has printed its configuration and needs none of the globals any
 * more; after the callback it only prints its closing newline. */
#ifndef QARNCLI_ENTRY_H
#define QARNCLI_ENTRY_H

#include <qarncli/abi.h>
#include <qarncli/request.h>

QARN_BEGIN_DECLS

/* The whole configuration, running or startup. cfg_display keeps the value that the last filtered entry point set. */
QARN_EXPORT uint32_t qarn_cli_run_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_cfg_gen(struct qarn_req *req);

/* Filtered displays. Each sets cfg_display, even if the request is not valid. */
QARN_EXPORT uint32_t qarn_cli_run_vsan_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_vsan_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_vlan_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_vlan_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_intf_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_intf_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_profile_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_profile_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_bfd_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_bfd_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_l2mp_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_l2mp_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_exclude_l2mp_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_exclude_l2mp_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_fex_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_fex_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_run_exclude_fex_cfg_gen(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_exclude_fex_cfg_gen(struct qarn_req *req);

/* The startup configuration's templates. On a card without templates, prints a message and returns 0. */
QARN_EXPORT uint32_t qarn_cli_start_template_cfg_gen(struct qarn_req *req);

/* All services but those whose SAPs the tokens name. */
QARN_EXPORT uint32_t qarn_cli_run_cfg_gen_exclude(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_cfg_gen_exclude(struct qarn_req *req);

/* The one service whose SAP the first token names. For SAP 0, prints a message and returns 0. */
QARN_EXPORT uint32_t qarn_cli_run_cfg_gen_sap(struct qarn_req *req);
QARN_EXPORT uint32_t qarn_cli_start_cfg_gen_sap(struct qarn_req *req);

/* The configuration of every active virtual device context, each through a shell of its own. */
QARN_EXPORT uint32_t qarn_cli_run_cfg_gen_vdcall(struct qarn_req *req);

/* Set a generation up: fresh element store, reply table and VLAN reverse table (earlier ones are abandoned), and the
 * interface lists of the command. Returns 0 or the interface manager's error, which has been printed. */
QARN_EXPORT uint32_t qarn_merge_init(struct qarn_req *req);

/* One generation, from the request to the printed text. cfg_source is QARN_SOURCE_RUNNING or QARN_SOURCE_STARTUP.
 * Returns 0 or a status of the platform's error space. */
QARN_EXPORT uint32_t qarn_generate(struct qarn_req *req, uint32_t cfg_source);

QARN_END_DECLS

#endif
