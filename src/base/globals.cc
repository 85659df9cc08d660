// The library's globals and their values at load. qarncli/globals.h describes the meaning, writers and life of each.
#include <qarncli/globals.h>
#include <qarncli/id_mask.h>
#include <qarncli/if_index_list.h>
#include <qarncli/managers.h>
#include <qarncli/queue.h>

// entry
uint32_t debug = 0;
uint32_t ftbl_index = 0;
uint32_t gl_q = 0;
uint32_t cfg_display = 0;
uint32_t cfg_display_type = 0;
uint32_t cmd_token_id = 0;
uint32_t active = 0;
int32_t qarn_feature = 0;
int32_t qarn_feature_send_all = 0;
int32_t qarn_feature_dns = 0;

// collect
uint32_t saps[256] = {};
int32_t num_saps = 0;
uint32_t saps_exclude[256] = {};
int32_t num_saps_exclude = 0;
int32_t sap_ctr = 0;
uint32_t qarnkey = 0;
GHashTable *msg_table_p = nullptr;

// model
GHashTable *merge_elem_table_p = nullptr;
struct if_index_list if_index_list = {};
struct if_index_list *if_index_list_p = nullptr;
struct ifindex_sublist *multi_list_head_p = nullptr;
struct ifindex_sublist *membership_multi_list_head_p = nullptr;
struct ppm_merge_input ppm_merge_input = {};
int32_t g_bypass_ppm = 0;
int32_t g_bypass_sp_qarn = 1;

// order
struct queue intf_element_q = {};
struct queue keystr_element_q = {};

// print
int32_t add_nl = 0;
uint32_t g_intf_uuid = 0;
uint32_t g_intf_elem = 0;
GString *g_intf_config_str = nullptr;
int32_t g_all_intf_config_printed = 0;
int32_t g_intf_config_printed = 0;
int32_t g_intf_config = 0;
char gif_index_buf[80] = {};
int32_t g_traverse = 0;
char **keylist = nullptr;
int32_t totalkeys = 0;
struct feature_key_entry *key_list = nullptr;
struct key_str_entry *key_str_list = nullptr;
int32_t keycount = 0;
GString *g_vlan_aggr_str = nullptr;
int32_t g_vlan_id = 0;
GHashTable *vlan_reverse_table_p = nullptr;
struct qarn_id_mask vlan_all_bitset = {};
void *g_vlan_bitset = nullptr;
void *lib_handle = nullptr;
void *ddas_qarn_cnv_handle_p = nullptr;
uint32_t (*ddas_create_func_ptr)(const char *specification, void **handle) = nullptr;
uint32_t (*ddas_cnv_func_ptr)(void *handle, const char *text, uint32_t, uint32_t,
                              int32_t (*output)(const char *, ...)) = nullptr;
uint32_t (*ddas_destroy_func_ptr)(void *handle) = nullptr;

// startup
uint32_t start_cfg_locked = 0;
void *startup_resp_data = nullptr;
