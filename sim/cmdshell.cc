// Command shell: the tables and option words that steer a display, the interface filter, command replies, and the
// renderer that turns command messages into text. A command message is a 64-byte header followed by a line of text or
// by a list of attributes. The renderer takes a message inside a render handle. It accepts them only if both carry the
// stamps of their own addresses, so a handle that was copied after it was stamped renders as an empty text.
#include "sim/cmdshell.h"

#include <cstring>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "sim/switch.h"

namespace sim {
namespace {

constexpr uint32_t kNoRoom = 0x40430001;

uint32_t load(const void *base, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, static_cast<const unsigned char *>(base) + at, sizeof word);
    return word;
}

void store(void *base, std::size_t at, uint32_t word) {
    std::memcpy(static_cast<unsigned char *>(base) + at, &word, sizeof word);
}

uint32_t low_word(const void *address) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address));
}

std::string_view text_within(const unsigned char *text, std::size_t size) {
    const auto *chars = reinterpret_cast<const char *>(text);
    return {chars, strnlen(chars, size)};
}

// cmd_req_init's buffer: a handle (its first word the size of the buffer, the pointer at 36), then the reply buffer.
constexpr std::size_t kHandleSize = 48;
constexpr std::size_t kAttributeHeaderSize = 8; // attribute id and length; the value is padded to 4 bytes
constexpr std::size_t kEmptyReplyEnd = std::size_t{CMD_REP_MESSAGE_AT} + QARN_CMD_HEADER_SIZE;

unsigned char *reply_of(void *handle) {
    return static_cast<unsigned char *>(handle) + kHandleSize;
}

std::size_t padded(std::size_t size) {
    return (size + 3) & ~std::size_t{3};
}

GString *rendered_text; // of the last rendering
cmd_clistr rendered;    // g_clistr once something was rendered

const unsigned char *stamped_message(const void *handle) {
    const unsigned char *message = static_cast<const unsigned char *>(handle) + QARN_CMD_PREFIX_SIZE;
    const uint32_t stamp = load(message, QARN_CMD_STAMP_AT) - low_word(message);
    const bool is_stamped = stamp == QARN_CMD_STAMP || stamp == QARN_CMD_STAMP_SWAPPED;
    const bool follows = load(handle, QARN_CMD_PREFIX_SIZE - 4) == 0; // else the message would lie elsewhere
    const bool is_own = load(handle, 0) - low_word(handle) == QARN_CMD_STAMP;
    return is_own && follows && is_stamped && load(message, QARN_CMD_LENGTH_AT) >= QARN_CMD_HEADER_SIZE ? message
                                                                                                        : nullptr;
}

std::string render_attributes(const unsigned char *body, std::size_t size) {
    std::string text;
    for (std::size_t at = 0; at + kAttributeHeaderSize <= size;) {
        const uint32_t attribute = load(body, at);
        const std::size_t length = load(body, at + 4), value_at = at + kAttributeHeaderSize;
        if (length > size - value_at) break;
        if (attribute == QARN_ATTR_INTERFACE_NAME)
            text.append("\ninterface ").append(text_within(body + value_at, length)).append("\n");
        at = value_at + padded(length);
    }
    return text;
}

std::string render(const void *handle) {
    const unsigned char *message = stamped_message(handle);
    if (message == nullptr) return {};
    const unsigned char *body = message + QARN_CMD_HEADER_SIZE;
    const std::size_t size = load(message, QARN_CMD_LENGTH_AT) - QARN_CMD_HEADER_SIZE;
    if (load(message, QARN_CMD_TYPE_AT) == kCommandAttributes) return render_attributes(body, size);
    return std::string(text_within(body, size));
}

} // namespace

void set_shell_options(const ShellOptions &options) {
    g_cli_execution_filter_mode = options.filter_mode;
    g_cli_script_mode = options.script_mode;
    g_cli_generic_option = options.generic_option;
}

void set_sap_row(uint32_t row, const std::vector<uint32_t> &row_saps, uint32_t key_word) {
    if (row >= SHOW_TABLE_ROWS) return;
    auto &words = show_sap_table[row];
    std::memset(words, 0, sizeof words);
    for (std::size_t i = 0; i < row_saps.size() && i < SHOW_SAP_SLOTS; ++i)
        words[1 + i] = row_saps[i];
    words[SHOW_SAP_KEY_WORD] = key_word;
}

uint32_t key_word_of_sap_row(uint32_t row) {
    return row < SHOW_TABLE_ROWS ? show_sap_table[row][SHOW_SAP_KEY_WORD] : 0;
}

void set_feature_row(uint32_t row, const std::vector<std::pair<uint32_t, uint32_t>> &pairs) {
    if (row >= SHOW_TABLE_ROWS) return;
    auto &words = show_feature_table[row];
    std::memset(words, 0, sizeof words);
    for (std::size_t i = 0; i < pairs.size() && i < SHOW_FEATURE_PAIRS; ++i) {
        words[1 + 2 * i] = pairs[i].first;
        words[2 + 2 * i] = pairs[i].second;
    }
}

void clear_show_tables() {
    for (uint32_t row = 0; row < SHOW_TABLE_ROWS; ++row) {
        set_sap_row(row, {}, 0);
        set_feature_row(row, {});
    }
}

extern "C" {

uint32_t show_sap_table[SHOW_TABLE_ROWS][12];
uint32_t show_feature_table[SHOW_TABLE_ROWS][21];
uint32_t g_cli_execution_filter_mode, g_cli_script_mode, g_cli_generic_option;
uint32_t cmd_output_format;
uint32_t cmd_debug_flags;
cmd_xml_render_fn g_cmd_xml_info[3];
void *g_user_data;
struct cmd_clistr *g_clistr;

uint32_t vsh_is_interface_display_allowed(uint32_t handle, const struct qarn_id_mask *vsan_mask, uint32_t if_index) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("vsh_is_interface_display_allowed", "%u, 0x%x", handle, if_index))
        return static_cast<uint32_t>(outcome->result);
    const Interface *interface = sw.find_interface(if_index);
    if (interface == nullptr || interface->vsan >= 8 * sizeof vsan_mask->bits) return 0;
    return (vsan_mask->bits[interface->vsan >> 3] & (0x80u >> (interface->vsan & 7))) != 0;
}

uint32_t cmd_show_run_opt(void *buffer) {
    if (const auto outcome = current().enter("cmd_show_run_opt")) return static_cast<uint32_t>(outcome->result);
    csm_qarn_sp_print("%s\n", render(buffer).c_str());
    return 0;
}

uint32_t cmd_show_run_opt_cr(void *buffer, uint32_t option) {
    g_clistr = nullptr;
    if (const auto outcome = current().enter("cmd_show_run_opt_cr", "%u", option))
        return static_cast<uint32_t>(outcome->result);
    if (rendered_text == nullptr) rendered_text = g_string_new("");
    g_string_assign(rendered_text, render(buffer).c_str());
    for (Observer *observer : current().observers)
        observer->rendered(rendered_text->str);
    rendered = {rendered_text->str, static_cast<int32_t>(rendered_text->len)};
    g_clistr = &rendered;
    return 0;
}

// The text stays: it is read after the cleanup.
void sr_cmds_cleanup(void) {
    current().enter("sr_cmds_cleanup");
}

void init_global_tlv_vars(void) {
    Switch &sw = current();
    sw.enter("init_global_tlv_vars");
    ++sw.tlv_vars_depth;
}

void reset_global_tlv_vars(void) {
    Switch &sw = current();
    sw.enter("reset_global_tlv_vars");
    --sw.tlv_vars_depth;
}

void *cmd_req_init(void *buffer, uint32_t size) {
    if (current().enter("cmd_req_init", "%u", size)) return nullptr;
    if (buffer == nullptr || size < kHandleSize + kEmptyReplyEnd) return nullptr;
    std::memset(buffer, 0, kHandleSize + kEmptyReplyEnd);
    store(buffer, 0, size);
    store(reply_of(buffer), CMD_REP_START_AT, CMD_REP_MESSAGE_AT);
    store(reply_of(buffer), CMD_REP_END_AT, kEmptyReplyEnd);
    return buffer;
}

uint32_t cmd_rep_attr_add(void *handle, uint32_t attribute, const void *value, uint32_t length) {
    if (const auto outcome = current().enter("cmd_rep_attr_add", "0x%x, %u", attribute, length))
        return static_cast<uint32_t>(outcome->result);
    unsigned char *reply = reply_of(handle);
    const std::size_t capacity = load(handle, 0) - kHandleSize, at = load(reply, CMD_REP_END_AT);
    const std::size_t end = at + kAttributeHeaderSize + padded(length);
    if (end > capacity) return kNoRoom;
    std::memset(reply + at, 0, end - at);
    store(reply, at, attribute);
    store(reply, at + 4, length);
    if (length != 0) std::memcpy(reply + at + kAttributeHeaderSize, value, length);
    store(reply, CMD_REP_END_AT, static_cast<uint32_t>(end));
    return 0;
}

uint32_t cmd_rep_flush(void *handle) {
    if (const auto outcome = current().enter("cmd_rep_flush")) return static_cast<uint32_t>(outcome->result);
    const unsigned char *reply = reply_of(handle);
    std::memcpy(static_cast<unsigned char *>(handle) + CMD_REP_BUFFER_AT, &reply, sizeof reply);
    return 0;
}

} // extern "C"

} // namespace sim
