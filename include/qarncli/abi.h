/* Macros for the installed headers, in C11 and in C++: linkage, visibility, and the layout assertions of the records.
 * Nothing here is part of the binary interface itself. */
#ifndef QARNCLI_ABI_H
#define QARNCLI_ABI_H

#include <glib.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QARN_BEGIN_DECLS extern "C" {
#define QARN_END_DECLS }
#define QARN_ALIGNAS(n) alignas(n)
#define QARN_ASSERT(condition, text) static_assert(condition, text)
#else
#define QARN_BEGIN_DECLS
#define QARN_END_DECLS
#define QARN_ALIGNAS(n) _Alignas(n)
#define QARN_ASSERT(condition, text) _Static_assert(condition, text)
#endif

#define QARN_EXPORT __attribute__((visibility("default")))
#define QARN_PACKED __attribute__((packed))

/* Surround a record with a flexible array member: C++ compilers accept it, but warn about it under -pedantic. */
#if defined(__cplusplus) && defined(__clang__)
#define QARN_FLEX_BEGIN _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wc99-extensions\"")
#define QARN_FLEX_END _Pragma("clang diagnostic pop")
#elif defined(__cplusplus)
#define QARN_FLEX_BEGIN _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wpedantic\"")
#define QARN_FLEX_END _Pragma("GCC diagnostic pop")
#else
#define QARN_FLEX_BEGIN
#define QARN_FLEX_END
#endif

/* Records without pointers have one layout everywhere. */
#define QARN_AT(type, field, offset) \
    QARN_ASSERT(offsetof(type, field) == (offset), #type "." #field " lies at " #offset)
#define QARN_SIZE(type, size) QARN_ASSERT(sizeof(type) == (size), #type " has " #size " bytes")

/* Records with pointers keep their field order; the offsets hold where a pointer has 4 bytes. */
#define QARN_AT32(type, field, offset)                                    \
    QARN_ASSERT(sizeof(void *) != 4 || offsetof(type, field) == (offset), \
                #type "." #field " lies at " #offset " with 4-byte pointers")
#define QARN_SIZE32(type, size) \
    QARN_ASSERT(sizeof(void *) != 4 || sizeof(type) == (size), #type " has " #size " bytes with 4-byte pointers")

#endif
