/* Interrupting a command. */
#ifndef QARNCLI_INTERRUPTION_H
#define QARNCLI_INTERRUPTION_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Handler of SIGINT, SIGHUP and SIGPIPE: releases the startup store when it is held and ends the process with status
 * 0. Under QARN_DEBUG_STORE it first appends a line to the exception log; when that cannot be opened, the handler
 * reports it and returns with errno unchanged, and the command goes on. */
QARN_EXPORT void qarn_sig_handler(int signo);

QARN_END_DECLS

#endif
