/* Printing what one interface element has for one interface. */
#ifndef QARNCLI_INTF_PRINT_H
#define QARNCLI_INTF_PRINT_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* traverse callback over intf_element_q: append the element's text for the interface to g_intf_config_str, or render
 * its command message straight into the output. `if_index` points to a u32 of any alignment. */
QARN_EXPORT void qarn_intf_cfg_print(void *vertex, void *if_index);

/* Render the "interface" line of the named interface through the shell's command renderer. */
QARN_EXPORT void qarn_send_intf_info(const char *name);

/* 1 when the text's first line is blank, else 0. */
QARN_EXPORT int32_t qarn_print_isspace_check(const char *text, int32_t length);

/* Print the unnecessary-space warning for a service. Called by the shell only. */
QARN_EXPORT void qarn_isspace_err_print(uint32_t uuid, uint32_t elem_id);

QARN_END_DECLS

#endif
