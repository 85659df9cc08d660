// Printing one element of an ordered level. An interface block element (UUID 223) prints the blocks of the interfaces
// that its id names; any other element prints its key tables and its own text. In a single feature's display the text
// of all interfaces follows the first element that carries interface configuration, once.
//
// g_intf_config_str exists only while one interface's text is collected; g_intf_uuid and g_intf_elem are the key of the
// element that was printed last.
#include <qarncli/element_print.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/key_table.h>
#include <qarncli/message.h>
#include <qarncli/request.h>

#include <algorithm>
#include <cstdlib>

#include "base/bytes.h"
#include "base/owner.h"
#include "base/trace.h"
#include "outcome/outcome.h"
#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/ifmgr.h"
#include "platform/port_managers.h"
#include "platform/sysmgr.h"
#include "platform/vdc.h"
#include "print/element_print.h"
#include "print/intf_print.h"
#include "print/lookup.h"

namespace qarn {
namespace {

constexpr std::size_t kCollectedSize = 256; // first size of an interface's text
constexpr uint32_t kNameSize = 79;

// The text that the interface elements have for one interface; g_intf_config_str holds it while this lives.
class CollectedText {
  public:
    // `if_index` points to a u32 of any alignment.
    explicit CollectedText(void *if_index) {
        g_intf_config_str = g_string_sized_new(kCollectedSize);
        collect_interface(if_index);
    }
    ~CollectedText() {
        g_string_free(g_intf_config_str, TRUE);
        g_intf_config_str = nullptr;
    }
    CollectedText(const CollectedText &) = delete;
    CollectedText &operator=(const CollectedText &) = delete;

    std::size_t length() const { return g_intf_config_str->len; }
    void print() const { csm_qarn_sp_print("%s", g_intf_config_str->str); }
};

void print_interface_header(uint32_t if_index) {
    char name[kNameSize + 1];
    snprintf_if_index(name, kNameSize, if_index);
    csm_qarn_sp_print("\ninterface %s\n", name);
}

bool shows_one_feature() {
    return qarn_feature == 1 && qarn_feature_send_all == 0;
}

bool merges_port_profiles() {
    return (qarn_feature == 0 || (qarn_feature == 1 && qarn_feature_send_all == 1)) && g_bypass_ppm != 1;
}

bool filter_allows_own_block() {
    return (g_cli_execution_filter_mode & CLI_FILTER_NO_PROFILE_MERGE) == 0;
}
bool filter_allows_member_block() {
    return (g_cli_execution_filter_mode & CLI_FILTER_SWITCH_PROFILE) != 0;
}

// The body of an interface block: the collected text, or the text that the port-profile manager merges from it. A merge
// that returns none leaves the body empty. `filter_allows` is the caller's test of the shell's filter mode. It runs
// after the text is collected, because rendering a command message runs the shell's code, which may change the mode.
void print_interface_body(void *if_index, bool (*filter_allows)()) {
    const CollectedText text(if_index);
    ppm_merge_input.bypass = g_bypass_ppm == 1 ? 1 : 0;
    if (!merges_port_profiles() || !filter_allows()) return text.print();
    const String merged(ppm_intf_shrun_merge(gl_q, load_u32(if_index), g_intf_config_str, ppm_merge_input));
    if (merged) {
        csm_qarn_sp_print("%s", merged->str);
    } else if (text.length() > 0) {
        note_refusal(QARN_OUTCOME_NOT_MERGED);
    }
}

// The VDC that the shell runs in; the default one when the shell's environment does not name one.
uint16_t vdc_of_shell() {
    const char *id = std::getenv("SYSMGR_VDC_ID");
    return id != nullptr ? static_cast<uint16_t>(std::strtol(id, nullptr, 10)) : uint16_t{VDC_DEFAULT_ID};
}

// Blocks of a port channel's members. The record has room for 36 of them, whatever number the manager returns.
void print_member_blocks(uint32_t port_channel) {
    pc_info info = {};
    info.pc_if_index = port_channel;
    info.vdc_id = vdc_of_shell();
    if (debugging(QARN_DEBUG_INTERFACE)) trace("Getting members for ifIndex %x\n", port_channel);
    if (const uint32_t status = pcm_get_pc_info(&info); status != 0) {
        csm_qarn_sp_print("pcm_get_pc_info failed for 0x%x retval %s\n", port_channel, syserr2str(status));
        note_refusal(QARN_OUTCOME_NO_MEMBERS, status);
        return;
    }
    const uint32_t answered = info.num_members; // read by value: the field is unaligned
    if (debugging(QARN_DEBUG_INTERFACE)) {
        trace("Found %d members for ifIndex 0x%x\n", answered, port_channel);
    }
    const uint32_t count = std::min<uint32_t>(answered, QARN_MAX_PC_MEMBERS);
    if (count < answered) note_refusal(QARN_OUTCOME_NO_MEMBERS);
    for (uint32_t j = 0; j < count; ++j) {
        pc_member &member = info.members[j];
        print_interface_header(member.if_index);
        print_interface_body(&member, filter_allows_member_block);
    }
}

bool is_membership_port_channel(uint32_t block, uint32_t if_index) {
    return cmd_token_id == QARN_TOKEN_MEMBERSHIP && block == PCM_BLOCK_ELEM_ID &&
           if_index_is_port_channel_sub_interface(if_index) == 0;
}

// The block of an interface, printed even when no element has text for it.
void print_block(uint32_t block, uint32_t *if_index) {
    if (debugging(QARN_DEBUG_INTERFACE)) trace("Printing config for Ifindex:%x\n", *if_index);
    print_interface_header(*if_index);
    print_interface_body(if_index, filter_allows_own_block);
    if (is_membership_port_channel(block, *if_index)) print_member_blocks(*if_index);
}

// The block of an interface without a port-profile merge; nothing when no element has text for the interface.
void print_block_with_text(uint32_t *if_index) {
    const CollectedText text(if_index);
    if (debugging(QARN_DEBUG_INTERFACE)) {
        trace(" interface  %x config length %d\n", *if_index, static_cast<int>(text.length()));
    }
    if (text.length() == 0) return;
    print_interface_header(*if_index);
    text.print();
}

bool is_allowed(const qarn_cfg_req_msg &request, uint32_t if_index) {
    if (vsh_is_interface_display_allowed(gl_q, &request.vsan_mask, if_index) != 0) return true;
    if (debugging(QARN_DEBUG_INTERFACE)) trace("Ifindex:%x should not be displayed\n", if_index);
    return false;
}

void print_interface_of_display(uint32_t block, uint32_t *if_index, const qarn_cfg_req_msg &request) {
    switch (cfg_display) {
        case QARN_DISPLAY_VSAN:
        case QARN_DISPLAY_INTERFACE:
            if (is_allowed(request, *if_index)) print_block(block, if_index);
            break;
        case QARN_DISPLAY_BFD:
        case QARN_DISPLAY_L2MP:
        case QARN_DISPLAY_FEX:
            print_block_with_text(if_index);
            break;
        default:
            print_block(block, if_index);
            break;
    }
}

void print_interface_blocks(uint32_t block, const qarn_cfg_req_msg &request) {
    ifindex_sublist *chain = cmd_token_id == QARN_TOKEN_MEMBERSHIP ? membership_multi_list_head_p : multi_list_head_p;
    ifindex_sublist *sublist = nullptr;
    if (if_manager_ifindex_list_find_by_elem(chain, block, &sublist) != 0) {
        if (debugging(QARN_DEBUG_INTERFACE)) trace("Ifindex list not found for intf elem:%d\n", block);
        return;
    }
    if (debugging(QARN_DEBUG_INTERFACE)) trace("Ifindex list of length:%d\n", sublist->count);
    for (int32_t i = 0; i < sublist->count; ++i)
        print_interface_of_display(block, sublist->ifindexes + i, request);
}

// Hand the text to the display conversion. True when the conversion has written it.
bool try_convert(const char *text) {
    if (ddas_qarn_cnv_handle_p == nullptr || ddas_cnv_func_ptr == nullptr) return false;
    return ddas_cnv_func_ptr(ddas_qarn_cnv_handle_p, text, 1, 0, csm_qarn_sp_print) == 0;
}

void print_own_text(const qarn_merge_key &key, GString *text) {
    if (text->len == 0) return;
    if (text->str[text->len - 1] != '\n') g_string_append_c(text, '\n');
    if (key.uuid != QARN_UUID_CONVERSION && try_convert(text->str)) return;
    if (qarn_feature_dns != 0) return;
    csm_qarn_sp_print("%s", text->str);
    add_nl = 1;
}

// The text of every interface of the command. The interface printer prints the headers from gif_index_buf, so an
// interface without entries prints nothing.
void print_all_interfaces() {
    for (const ifindex_sublist *sublist = multi_list_head_p; sublist != nullptr; sublist = sublist->next) {
        if (debugging(QARN_DEBUG_INTERFACE)) trace("Ifindex list of length:%d\n", sublist->count);
        for (int32_t i = 0; i < sublist->count; ++i) {
            uint32_t *if_index = sublist->ifindexes + i;
            if (debugging(QARN_DEBUG_INTERFACE)) trace("Printing config for Ifindex:%x\n", *if_index);
            snprintf_if_index(gif_index_buf, kNameSize, *if_index);
            g_intf_config_printed = 0;
            CollectedText(if_index).print();
        }
    }
}

void print_ordinary_element(const qarn_merge_key &key, qarn_merge_val *value) {
    if (cfg_display == QARN_DISPLAY_INTERFACE || value == nullptr) return;
    print_keytbl(value);
    print_own_text(key, value->elem->cfg_str);
    // The interface printer sets the flag as soon as it finds an element, so this walk happens once.
    if (shows_one_feature() && g_all_intf_config_printed == 0) {
        if ((value->elem->property & QARN_PROP_INTF) == 0) return;
        print_all_interfaces();
    }
    g_intf_config = 0;
}

} // namespace

void print_element(const qarn_merge_key &key, qarn_merge_val *value, const qarn_cfg_req_msg &request) {
    g_intf_uuid = key.uuid;
    g_intf_elem = key.elem_id;
    if (debugging(QARN_DEBUG_PRINT)) {
        csm_qarn_sp_print("Printing config for UUID:%d Elem:%d\n", key.uuid, key.elem_id);
    }
    if (value != nullptr && (value->elem->property & QARN_PROP_DUMMY) != 0) return;
    if (key.uuid == QARN_UUID_INTERFACE) {
        print_interface_blocks(key.elem_id, request);
    } else {
        print_ordinary_element(key, value);
    }
}

} // namespace qarn

void qarn_element_cfg_print(void *vertex, void *request_message) {
    qarn::print_element(qarn::key_of_vertex(vertex), qarn::value_of_vertex(vertex),
                        *static_cast<const qarn_cfg_req_msg *>(request_message));
}
