/* Printing one element of an ordered level. */
#ifndef QARNCLI_ELEMENT_PRINT_H
#define QARNCLI_ELEMENT_PRINT_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* traverse callback: `vertex` is the element's, `request_message` the generation's qarn_cfg_req_msg. */
QARN_EXPORT void qarn_element_cfg_print(void *vertex, void *request_message);

QARN_END_DECLS

#endif
