/* Reporting a failed send to a service. */
#ifndef QARNCLI_EXCHANGE_H
#define QARNCLI_EXCHANGE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Print why a send to one service returned `ret`. Reads errno, which nothing may have changed since the send. */
QARN_EXPORT void handle_error(int32_t ret);

QARN_END_DECLS

#endif
