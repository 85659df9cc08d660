/* The decoder: from one reply's TLV stream to elements merged into the element store. */
#ifndef QARNCLI_TLV_DECODE_H
#define QARNCLI_TLV_DECODE_H

#include <qarncli/abi.h>
#include <qarncli/element.h>

QARN_BEGIN_DECLS

/* Tags. Some take the next TLVs as operands, called follow-ups; the tags of follow-ups are ignored. */
enum {
    QARN_TLV_TAG_ELEM_INFO = 0,   /* five words: uuid, elem_id, level, property, val_type; opens an element */
    QARN_TLV_TAG_DEPENDENCY = 1,  /* three words: uuid, elem_id, dep_type */
    QARN_TLV_TAG_STR = 2,         /* text, appended to the element's own */
    QARN_TLV_TAG_IFINDEX_STR = 3, /* one word: interface index; follow-up: text or command message */
    QARN_TLV_TAG_TLV = 5,         /* command message, for the debug display only */
    QARN_TLV_TAG_KEY_STR = 6,     /* key-string name; follow-up: its text */
    QARN_TLV_TAG_KEY = 7          /* one word: index; follow-ups: key map, then key name */
};

/* Decode the TLV array at `array`, which is trusted, into `table` (the element store merge_elem_table_p). Everything
 * that is kept is copied. Returns QARN_STATUS_NO_MEMORY, _NO_PAYLOAD or _BAD_MESSAGE on an error (what was merged
 * before it stays), else 0, even if decoding stops early because the array holds more TLVs than it announces. */
QARN_EXPORT uint32_t qarn_parse_tlv(const void *array, GHashTable *table);

/* Copy the words of a tag-0 or tag-1 value, of any alignment, into the record. */
QARN_EXPORT void qarn_element_info_tlv_parse(const void *value, struct qarn_elem *elem);
QARN_EXPORT void qarn_elem_dependency_info_tlv_parse(const void *value, struct qarn_elem_dependency *dep);

QARN_END_DECLS

#endif
