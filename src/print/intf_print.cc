// What one interface element has for one interface: its text joins the interface's collected text; the command shell
// renders a command message, which is printed at once, ahead of the collected text. init_global_tlv_vars and
// reset_global_tlv_vars surround every rendering, on error paths too.
#include <qarncli/intf_print.h>

#include <qarncli/element_store.h>
#include <qarncli/globals.h>
#include <qarncli/ordering.h>

#include <cctype>

#include "base/command_message.h"
#include "base/trace.h"
#include "model/element_store.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/sysmgr.h"
#include "print/intf_print.h"
#include "print/lookup.h"

namespace qarn {
namespace {

constexpr uint32_t kXmlOutput = 1;
constexpr int kXmlRenderer = 2; // entry of g_cmd_xml_info
constexpr uint32_t kXmlRenderMode = 2;
constexpr uint32_t kMessageType = 2;
constexpr uint32_t kLongestMessage = uint32_t{CMD_REPLY_BUFFER_SIZE} - uint32_t{CMD_REP_MESSAGE_AT};
constexpr int kZeroedWordsAt[] = {52, 56}; // of a message that is built here
constexpr uint32_t kNameOfService = 5;     // what is asked of the system manager

// The shell's rendering state, prepared while this lives.
struct RenderingState {
    RenderingState() { init_global_tlv_vars(); }
    ~RenderingState() { reset_global_tlv_vars(); }
    RenderingState(const RenderingState &) = delete;
    RenderingState &operator=(const RenderingState &) = delete;
};

// A render handle made from a message; the shell's debug flags are taken from the message. Null if memory runs out.
Malloced<unsigned char> make_render_handle(const unsigned char *message) {
    auto handle = copy_message(message);
    if (!handle) return handle;
    set_up_render_handle(handle.get());
    take_debug_flags(handle.get() + QARN_CMD_PREFIX_SIZE);
    return handle;
}

// Render a handle: true when g_clistr now holds a text for the caller to print; the XML renderer writes its own.
bool render(unsigned char *handle) {
    if (cmd_output_format == kXmlOutput && g_cmd_xml_info[kXmlRenderer] != nullptr) {
        g_cmd_xml_info[kXmlRenderer](handle, kXmlRenderMode, g_user_data);
        return false;
    }
    cmd_show_run_opt_cr(handle, 0);
    sr_cmds_cleanup();
    const bool is_rendered = g_clistr != nullptr && g_clistr->str != nullptr;
    if (!is_rendered) note_refusal(QARN_OUTCOME_NOT_RENDERED);
    return is_rendered;
}

void trace_text(qarn_merge_key key, const GString &text) {
    if (!debugging(QARN_DEBUG_PRINT)) return;
    csm_qarn_sp_print("Printing config for UUID:%d Elem:%d\n", key.uuid, key.elem_id);
    if (text.len > 0) csm_qarn_sp_print("%s", text.str);
    if (qarn_print_isspace_check(text.str, static_cast<int32_t>(text.len)) == 1) {
        csm_qarn_sp_print("UUID:%d Elem:%d is an empty string\n", key.uuid, key.elem_id);
    }
}

// In a single feature's display the header is printed here, for the first text found for the interface, even an empty
// one.
void print_header_once() {
    if (qarn_feature != 1 || qarn_feature_send_all != 0 || g_intf_config_printed != 0) return;
    csm_qarn_sp_print("\ninterface %s\n", gif_index_buf);
    g_intf_config_printed = 1;
}

// The newline is added to the element's own text, so that the text is complete for the next interface too.
void collect_text(qarn_merge_key key, GString *text) {
    print_header_once();
    trace_text(key, *text);
    if (text->len > 0 && text->str[text->len - 1] != '\n') g_string_append_c(text, '\n');
    g_string_append_len(g_intf_config_str, text->str, static_cast<gssize>(text->len));
}

void print_command(const unsigned char *message) {
    if (qarn_feature == 1) qarn_send_intf_info(gif_index_buf);
    const RenderingState state;
    if (!has_valid_stamp(message)) {
        csm_qarn_sp_print("ERROR: qarn_intf_prnt: bad message\n");
        note_refusal(QARN_OUTCOME_NOT_RENDERED);
        return;
    }
    const auto handle = make_render_handle(message);
    if (!handle) return;
    if (render(handle.get()) && g_clistr->len >= 1) csm_qarn_sp_print("%s\n", g_clistr->str);
}

// The reply buffer of a completed command reply: the handle holds an unaligned pointer to it.
unsigned char *reply_buffer_of(const void *reply) {
    unsigned char *buffer = nullptr;
    std::memcpy(&buffer, static_cast<const unsigned char *>(reply) + CMD_REP_BUFFER_AT, sizeof buffer);
    return buffer;
}

// Complete the message in a reply buffer; null when the length between the buffer's positions does not cover the
// header that is written here, or leaves the buffer.
unsigned char *complete_message(unsigned char *buffer) {
    const uint32_t length = load_u32(buffer + CMD_REP_END_AT) - load_u32(buffer + CMD_REP_START_AT);
    if (length < QARN_CMD_HEADER_SIZE || length > kLongestMessage) return nullptr;
    unsigned char *message = buffer + CMD_REP_MESSAGE_AT;
    store_u32(message + QARN_CMD_TYPE_AT, kMessageType);
    for (const int offset : kZeroedWordsAt)
        store_u32(message + offset, 0);
    store_u32(message + QARN_CMD_STAMP_AT, QARN_CMD_STAMP);
    store_u32(message + QARN_CMD_LENGTH_AT, length);
    return message;
}

// True when the line was rendered; otherwise a message has been printed, unless memory ran out. The caller owns the
// render handle, because it outlives the rendering state.
bool render_interface_line(unsigned char *buffer, const char *name, Malloced<unsigned char> &handle) {
    const RenderingState state;
    void *reply = cmd_req_init(buffer, CMD_REPLY_BUFFER_SIZE);
    if (reply == nullptr) {
        csm_qarn_sp_print("ERROR: qarn_send_intf_info :Bad handle h\n");
        note_refusal(QARN_OUTCOME_NOT_RENDERED);
        return false;
    }
    cmd_rep_attr_add(reply, QARN_ATTR_INTERFACE_NAME, name, static_cast<uint32_t>(std::strlen(name)) + 1);
    cmd_rep_flush(reply);
    unsigned char *reply_buffer = reply_buffer_of(reply);
    unsigned char *message = reply_buffer != nullptr ? complete_message(reply_buffer) : nullptr;
    if (message == nullptr) {
        csm_qarn_sp_print("ERROR: qarn_send_intf_info :Bad message\n");
        note_refusal(QARN_OUTCOME_NOT_RENDERED);
        return false;
    }
    handle = make_render_handle(message);
    if (!handle) return false;
    if (render(handle.get())) csm_qarn_sp_print("%s", g_clistr->str);
    return true;
}

// Add an element's value for the current interface.
void append_value(qarn_merge_key key, const qarn_elem &elem, void *value) {
    if (elem.val_type == QARN_VAL_TEXT) {
        collect_text(key, static_cast<GString *>(value));
    } else if (elem.val_type == QARN_VAL_COMMAND) {
        print_command(static_cast<const unsigned char *>(value));
    }
}

} // namespace

void collect_interface(void *if_index) {
    Lookup *lookup = Lookup::for_interfaces();
    if (lookup == nullptr) return traverse(&intf_element_q, qarn_intf_cfg_print, if_index);
    if (lookup->has_interface_elements()) g_all_intf_config_printed = 1;
    const InterfaceValues *values = lookup->interface_values(load_u32(if_index));
    if (values == nullptr) return;
    for (const InterfaceValue &found : *values)
        append_value(store_key(*found.elem), *found.elem, found.value);
}

} // namespace qarn

void qarn_intf_cfg_print(void *vertex, void *if_index) {
    const qarn_merge_val *value = qarn::value_of_vertex(vertex);
    if (value == nullptr) return;
    const qarn_elem &elem = *value->elem;
    const qarn_merge_key key = qarn::key_of_vertex(vertex);
    if (qarn::debugging(QARN_DEBUG_LOOKUP)) {
        qarn::trace("String for (%d,%d) was %x\n", key.uuid, key.elem_id, 0u);
    }
    g_all_intf_config_printed = 1;
    if ((elem.property & QARN_PROP_INTF) == 0) return;

    const uint32_t index = qarn::load_u32(if_index);
    void *found = g_hash_table_lookup(elem.ifindex_table, &index);
    if (qarn::debugging(QARN_DEBUG_LOOKUP)) {
        const void *text = elem.val_type == QARN_VAL_TEXT ? found : nullptr;
        qarn::trace("String lookup for (%d,%d) was %x\n", key.uuid, key.elem_id, qarn::low32(text));
    }
    if (found != nullptr) qarn::append_value(key, elem, found);
}

void qarn_send_intf_info(const char *name) {
    qarn::Malloced<unsigned char> handle;
    const auto buffer = qarn::allocate<unsigned char>(CMD_REPLY_BUFFER_SIZE);
    if (!buffer) {
        csm_qarn_sp_print("ERROR: qarn_send_intf_info :malloc failed\n");
        return;
    }
    if (name == nullptr) {
        csm_qarn_sp_print("qarn_send_intf_info NULL returning\n");
        return;
    }
    if (qarn::render_interface_line(buffer.get(), name, handle)) g_intf_config = 1;
}

int32_t qarn_print_isspace_check(const char *text, int32_t length) {
    for (int32_t i = 0; i < length; ++i) {
        if (text[i] == '\n') return 1;
        // As a signed char: the C library's tables cover negative values too.
        if (std::isspace(static_cast<signed char>(text[i])) == 0) return 0;
    }
    return 1;
}

void qarn_isspace_err_print(uint32_t uuid, uint32_t elem_id) {
    char name[256] = {};
    if (sysmgrcmn_srv_uuid_name_get(gl_q, qarn::kNameOfService, uuid, name, sizeof name) == 0) {
        csm_qarn_sp_print("*** Warning ***: Service %s with UUID:%d(Elem:%d) is printing unnecessary spaces\n", name,
                          uuid, elem_id);
    } else {
        csm_qarn_sp_print("*** Warning ***: Service with UUID:%d(Elem:%d) is printing unnecessary spaces\n", uuid,
                          elem_id);
    }
}
