/* Keyed configuration: the text that other services file under an element's keys. */
#ifndef QARNCLI_KEY_TABLE_H
#define QARNCLI_KEY_TABLE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_merge_val;

/* A key-string name that the feature-key pass has printed; key_list, newest first. malloc'd, never removed. */
struct feature_key_entry {
    GString *key; /* own copy */
    struct feature_key_entry *next;
};
QARN_AT32(struct feature_key_entry, next, 4);
QARN_SIZE32(struct feature_key_entry, 8);

/* Print the element's key tables. */
QARN_EXPORT void print_keytbl(struct qarn_merge_val *value);

/* g_hash_table_foreach callback over a key_table: collects the entry's header into keylist when sorted_key is null,
 * else prints what is filed under the entry's key when its key map equals sorted_key. */
QARN_EXPORT void qarn_key_elem_print(void *name, void *value, void *sorted_key);

/* Trace and sort the first totalkeys slots of keylist; always 0. */
QARN_EXPORT int32_t qarn_sort_traverse_keys(void);
QARN_EXPORT void sortmyarray(char **array, int32_t count);
QARN_EXPORT int qarn_key_cmp_fn(const void *a, const void *b); /* strcmp of two slots */

/* traverse callback over keystr_element_q: print what the element files under `key`, a GString. */
QARN_EXPORT void qarn_keystr_elem_q_cfg_print(void *vertex, void *key);
/* g_hash_table_foreach callback over a keystr_table: print the value when the name equals `key`, a GString. */
QARN_EXPORT void qarn_keystr_print(void *name, void *value, void *key);

/* g_hash_table_foreach callback over a keystr_table: collect a name that was not printed before. */
QARN_EXPORT void qarn_get_keys(void *name, void *value, void *unused);
QARN_EXPORT int32_t qarn_feature_key_printed(const char *name);
/* Returns the new entry, or null if memory runs out. */
QARN_EXPORT struct feature_key_entry *add_feature_key_to_list(const char *name);
/* g_hash_table_foreach callback over a keystr_table: print one name and what is filed under it, unsorted. */
QARN_EXPORT void qarn_key_feature_print(void *name, void *value, void *unused);

QARN_END_DECLS

#endif
