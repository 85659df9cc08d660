/* The exchange with the services. */
#ifndef QARNCLI_EXCHANGE_H
#define QARNCLI_EXCHANGE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Explain in the output why a send to one service returned `ret`. Reads errno, which must still be the send's. */
QARN_EXPORT void handle_error(int32_t ret);

QARN_END_DECLS

#endif
