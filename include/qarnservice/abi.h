/* Macros for the installed headers, in C11 and in C++. */
#ifndef QARNSERVICE_ABI_H
#define QARNSERVICE_ABI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QARN_SERVICE_BEGIN_DECLS extern "C" {
#define QARN_SERVICE_END_DECLS }
#else
#define QARN_SERVICE_BEGIN_DECLS
#define QARN_SERVICE_END_DECLS
#endif

#define QARN_SERVICE_EXPORT __attribute__((visibility("default")))

#endif
