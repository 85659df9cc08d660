/* Services that answer through a function in a shared library instead of a process of their own. */
#ifndef QARNCLI_CALLBACKS_H
#define QARNCLI_CALLBACKS_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Pass the request (`size` bytes) to the in-process functions: the first declaration covers those of all services, the
 * second only those of awaited services. A SAP that is still awaited when its function is invoked counts as
 * answered. */
QARN_EXPORT void qarn_invoke_all_lib_funcs(uint32_t mts_handle, const void *msg, uint32_t size);
QARN_EXPORT void qarn_invoke_lib_funcs(uint32_t mts_handle, const void *msg, uint32_t size);

QARN_END_DECLS

#endif
