/* The platform's 32-bit-aligned TLV arrays: every value begins on a 4-byte boundary. */
#ifndef QARN_PLATFORM_TLV_ARRAY_H
#define QARN_PLATFORM_TLV_ARRAY_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

int32_t tlv32_aligned_array_get_num_tlvs(const void *array, uint32_t zero);
/* Returns 0 and stores the next TLV, or returns non-zero at the end. *cursor is 0 before the first call. */
int32_t tlv32_aligned_array_get_next_tlv(const void *array, uint32_t *tag, uint32_t *length, void **value,
                                         uint32_t zero, uint32_t *cursor);

QARN_END_DECLS

#endif
