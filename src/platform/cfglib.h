/* Companion configuration library: element records, the table of in-process services, the final callback. */
#ifndef QARN_PLATFORM_CFGLIB_H
#define QARN_PLATFORM_CFGLIB_H

#include <qarncli/abi.h>
#include <qarncli/callback_table.h>
#include <qarncli/element.h>

QARN_BEGIN_DECLS

struct mts_msg;
struct qarn_req;

/* New records, or null. An element comes with an empty text, three empty tables (g_int_hash for interfaces, g_str_hash
 * for keys and key strings, no destroy functions) and no dependencies. */
struct qarn_elem *qarn_elem_info_create(uint32_t uuid, uint32_t elem_id, uint32_t level, uint32_t property);
struct qarn_elem_dependency *qarn_elem_dependency_create(uint32_t uuid, uint32_t elem_id, uint32_t dep_type,
                                                         struct qarn_elem_dependency *next);

/* The cfg_source that a received request message asks for. */
uint32_t qarn_cfg_type_get(struct mts_msg *msg);
extern struct qarn_cfg_cb_entry qarn_cfg_cb_table[];
extern int32_t qarn_cfg_cb_table_size;
/* Calls func with args and the result slot; handed to dlwrap_invoke_func. */
void qarn_parallel_cfg_cb_invoke_handler(void *func, void *args, uint32_t *result);
/* The final configuration callback of a generation. */
uint32_t qarn_cb_run_cfg_generate(struct qarn_req *req);

QARN_END_DECLS

#endif
