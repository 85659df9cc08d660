// Puts back what a command leaves to the next one.
#include "support/globals.h"

#include <qarncli/qarncli.h>

#include <cstdlib>
#include <cstring>

#include "sim/cfglib.h"
#include "sim/cmdshell.h"

namespace test {
namespace {

void forget_feature_keys() {
    while (key_list != nullptr) {
        feature_key_entry *entry = key_list;
        key_list = entry->next;
        g_string_free(entry->key, TRUE);
        std::free(entry);
    }
}

// The generation that opened the library has closed it.
void forget_conversion_library() {
    lib_handle = ddas_qarn_cnv_handle_p = nullptr;
    ddas_create_func_ptr = nullptr;
    ddas_cnv_func_ptr = nullptr;
    ddas_destroy_func_ptr = nullptr;
}

} // namespace

void reset_globals() {
    debug = ftbl_index = gl_q = cfg_display = cfg_display_type = cmd_token_id = active = 0;
    qarn_feature = qarn_feature_send_all = qarn_feature_dns = 0;

    std::memset(saps, 0, sizeof saps);
    std::memset(saps_exclude, 0, sizeof saps_exclude);
    num_saps = num_saps_exclude = sap_ctr = 0;
    qarnkey = 0;
    msg_table_p = merge_elem_table_p = vlan_reverse_table_p = nullptr;

    std::free(if_index_list.ifindexes);
    if_index_list = {};
    if_index_list_p = nullptr;
    multi_list_head_p = membership_multi_list_head_p = nullptr;
    ppm_merge_input = {};
    g_bypass_ppm = 0;
    g_bypass_sp_qarn = 1;
    intf_element_q = keystr_element_q = {};

    add_nl = g_all_intf_config_printed = g_intf_config_printed = g_intf_config = g_traverse = 0;
    g_intf_uuid = g_intf_elem = 0;
    std::memset(gif_index_buf, 0, sizeof gif_index_buf);
    g_intf_config_str = g_vlan_aggr_str = nullptr;
    g_vlan_id = 0;
    vlan_all_bitset = {};
    g_vlan_bitset = nullptr;
    forget_feature_keys();
    forget_conversion_library();

    start_cfg_locked = 0;
    startup_resp_data = nullptr;

    sim::set_shell_options({});
    sim::clear_show_tables();
    sim::clear_callback_table();
}

} // namespace test
