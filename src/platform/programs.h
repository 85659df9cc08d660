/* Running programs, and functions of shared libraries. */
#ifndef QARN_PLATFORM_PROGRAMS_H
#define QARN_PLATFORM_PROGRAMS_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Runs the program to its end; its arguments end with a null pointer. 0 is success. */
int32_t execute_program_and_wait(const char *path, ...);
/* Loads `lib`, resolves `func` and has `handler` call it with args and the result slot. */
int32_t dlwrap_invoke_func(const char *lib, const char *func, void *args, uint32_t *result,
                           void (*handler)(void *func, void *args, uint32_t *result));

QARN_END_DECLS

#endif
