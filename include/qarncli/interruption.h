/* What happens when a generation cannot run to its end. */
#ifndef QARNCLI_INTERRUPTION_H
#define QARNCLI_INTERRUPTION_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Handler of SIGINT, SIGHUP and SIGPIPE: releases the startup store when it is held and ends the process with status
 * 0. Under QARN_DEBUG_STORE it first appends a line to the exception log; when that cannot be opened, the
 * interruption is reported and ignored. */
QARN_EXPORT void qarn_sig_handler(int signo);

/* Explain a send to one service that failed with `ret`; errno is still the send's. */
QARN_EXPORT void handle_error(int32_t ret);

QARN_END_DECLS

#endif
