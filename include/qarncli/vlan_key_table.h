/* The VLAN service's key tables: each VLAN's contributions joined, VLANs with equal text printed as one range. */
#ifndef QARNCLI_VLAN_KEY_TABLE_H
#define QARNCLI_VLAN_KEY_TABLE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* A text contributed for the VLAN being aggregated; key_str_list, newest first. malloc'd. */
struct key_str_entry {
    GString *str; /* own copy; while the library joins: own copy or an element's text; null: nothing to free */
    int32_t used; /* 1 once joined */
    struct key_str_entry *next;
};
QARN_AT32(struct key_str_entry, used, 4);
QARN_AT32(struct key_str_entry, next, 8);
QARN_SIZE32(struct key_str_entry, 12);

/* Trace and sort the first totalkeys slots of keylist in VLAN key order: shorter first, then strcmp. Always 0. */
QARN_EXPORT int32_t qarn_sort_traverse_vlan_keys(void);
QARN_EXPORT void sort_vlan_array(char **array, int32_t count);
QARN_EXPORT int qarn_vlan_key_cmp_fn(const void *a, const void *b);

/* traverse callback over keystr_element_q: add what the element files under `line`, a GString. */
QARN_EXPORT void qarn_vlan_keystr_elem_q_cfg_print(void *vertex, void *line);
/* Put a copy of the text at the head of key_str_list. Returns the entry, or null if memory runs out. */
QARN_EXPORT struct key_str_entry *add_key_str_list(const char *text);
/* Join key_str_list in ascending order into g_vlan_aggr_str and file it under g_vlan_id in vlan_reverse_table_p. */
QARN_EXPORT void qarn_vlan_add_aggr_keystr(void);
/* Free key_str_list and set keycount to 0. */
QARN_EXPORT void delete_key_str_list(void);
/* g_hash_table_foreach_remove callback: frees one entry of vlan_reverse_table_p; always 1. */
QARN_EXPORT gboolean vlan_table_cleanup(void *key, void *value, void *unused);

/* g_hash_table_foreach callback: list one entry of vlan_reverse_table_p in the output. */
QARN_EXPORT void qarn_vlan_reversetable_print(void *key, void *value, void *unused);
/* Match predicate over GString keys: 1 on the first match, whose value it stores in g_vlan_bitset; then always 0. */
QARN_EXPORT gboolean qarn_vlan_get_bitmask(void *key, void *value, void *wanted);

QARN_END_DECLS

#endif
