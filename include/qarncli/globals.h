/* Every global of the library, with its meaning and the lifetime of its value:
 *   every generation  each generation sets the value before it reads it
 *   as last set       the value stays until another command sets it again
 *   sticky            the value is only ever set, or grows, while the library is loaded; a shell therefore runs each
 *                     command in a process of its own */
#ifndef QARNCLI_GLOBALS_H
#define QARNCLI_GLOBALS_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Each record is declared in the header of its subject. */
struct feature_key_entry; /* key_table.h */
struct if_index_list;     /* if_index_list.h */
struct ifindex_sublist;   /* if_index_list.h */
struct key_str_entry;     /* vlan_key_table.h */
struct ppm_merge_input;   /* managers.h */
struct qarn_id_mask;      /* id_mask.h */
struct queue;             /* queue.h */

/* entry */
extern QARN_EXPORT uint32_t debug;                /* the request's debug mask; every generation */
extern QARN_EXPORT uint32_t ftbl_index;           /* the request's feature table row; every generation */
extern QARN_EXPORT uint32_t gl_q;                 /* the request's transport handle; every generation */
extern QARN_EXPORT uint32_t cfg_display;          /* subset shown; as the last filtered entry point set it */
extern QARN_EXPORT uint32_t cfg_display_type;     /* variant of the command code; every generation */
extern QARN_EXPORT uint32_t cmd_token_id;         /* the last ordinary token of the last command that had one */
extern QARN_EXPORT uint32_t active;               /* answer of vdc_is_active in the all-VDC command */
extern QARN_EXPORT int32_t qarn_feature;          /* one service or row was named; sticky */
extern QARN_EXPORT int32_t qarn_feature_send_all; /* all consumers in feature mode; sticky */
extern QARN_EXPORT int32_t qarn_feature_dns;      /* last in-process service of a feature was SAP 1348; as last set */

/* collect */
extern QARN_EXPORT uint32_t saps[256];         /* asked and still awaited; every generation */
extern QARN_EXPORT int32_t num_saps;           /* positions of saps in use */
extern QARN_EXPORT uint32_t saps_exclude[256]; /* excluded by the last exclusion command */
extern QARN_EXPORT int32_t num_saps_exclude;
extern QARN_EXPORT int32_t sap_ctr;         /* replies awaited; every generation */
extern QARN_EXPORT uint32_t qarnkey;        /* key word of the last SAP table row */
extern QARN_EXPORT GHashTable *msg_table_p; /* incomplete replies, u32 SAP -> qarn_msg_entry; every generation */

/* model */
extern QARN_EXPORT GHashTable *merge_elem_table_p; /* qarn_merge_key -> qarn_merge_val; every generation */
extern QARN_EXPORT struct if_index_list if_index_list, *if_index_list_p; /* the main chain as a list; pointer to it */
extern QARN_EXPORT struct ifindex_sublist *multi_list_head_p;            /* main chain; kept on failure */
extern QARN_EXPORT struct ifindex_sublist *membership_multi_list_head_p; /* chain of the membership variant */
extern QARN_EXPORT struct ppm_merge_input ppm_merge_input;
extern QARN_EXPORT int32_t g_bypass_ppm;     /* 1: no port-profile merge; sticky */
extern QARN_EXPORT int32_t g_bypass_sp_qarn; /* 1: no switch-profile block; 1 at load, every generation */

/* order */
extern QARN_EXPORT struct queue intf_element_q;   /* interface elements in dependency order; every generation */
extern QARN_EXPORT struct queue keystr_element_q; /* all elements in dependency order; every generation */

/* print */
extern QARN_EXPORT int32_t add_nl;                      /* text was printed since the last level began */
extern QARN_EXPORT uint32_t g_intf_uuid, g_intf_elem;   /* key of the element being printed */
extern QARN_EXPORT GString *g_intf_config_str;          /* text collected for the interface being printed */
extern QARN_EXPORT int32_t g_all_intf_config_printed;   /* the interface printer found an element; sticky */
extern QARN_EXPORT int32_t g_intf_config_printed;       /* this interface's header was printed; as last set */
extern QARN_EXPORT int32_t g_intf_config;               /* an interface line was rendered for this element */
extern QARN_EXPORT char gif_index_buf[80];              /* name of the interface of the feature-mode walk */
extern QARN_EXPORT int32_t g_traverse;                  /* a key has matched; sticky */
extern QARN_EXPORT char **keylist;                      /* headers of the current pass; null between passes */
extern QARN_EXPORT int32_t totalkeys;                   /* slots of keylist in use; 0 between passes */
extern QARN_EXPORT struct feature_key_entry *key_list;  /* feature keys printed, newest first; sticky */
extern QARN_EXPORT struct key_str_entry *key_str_list;  /* contributions for the current VLAN, newest first */
extern QARN_EXPORT int32_t keycount;                    /* number of entries of key_str_list not joined yet */
extern QARN_EXPORT GString *g_vlan_aggr_str;            /* aggregate of the current VLAN */
extern QARN_EXPORT int32_t g_vlan_id;                   /* the current VLAN */
extern QARN_EXPORT GHashTable *vlan_reverse_table_p;    /* i32 VLAN -> GString aggregate; every generation */
extern QARN_EXPORT struct qarn_id_mask vlan_all_bitset; /* working set of the VLAN pass */
extern QARN_EXPORT void *g_vlan_bitset;                 /* value of qarn_vlan_get_bitmask's match */
extern QARN_EXPORT void *lib_handle;                    /* the loaded conversion library */
extern QARN_EXPORT void *ddas_qarn_cnv_handle_p;        /* open conversion, one generation; null = none */
extern QARN_EXPORT uint32_t (*ddas_create_func_ptr)(const char *specification, void **handle);
extern QARN_EXPORT uint32_t (*ddas_cnv_func_ptr)(void *handle, const char *text, uint32_t, uint32_t,
                                                 int32_t (*output)(const char *, ...));
extern QARN_EXPORT uint32_t (*ddas_destroy_func_ptr)(void *handle);

/* startup */
extern QARN_EXPORT uint32_t start_cfg_locked; /* the last successful lock request's flag */
extern QARN_EXPORT void *startup_resp_data;   /* its response, owned by the platform; null when there was none */

QARN_END_DECLS

#endif
