// What interface elements say about one interface: text that is collected, command messages that the shell's renderer
// turns into text at once.
#include <cstring>
#include <tuple>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "support/story.h"

namespace {

using sim::command_message;
using test::Tlv;
using Calls = std::vector<std::string>;

class InterfacePrinter : public test::Story {
  protected:
    InterfacePrinter() {
        test::start_generation(&req);
        g_intf_config_str = g_string_new("");
        std::strcpy(gif_index_buf, "Ethernet1/1");
    }
    ~InterfacePrinter() override { g_string_free(g_intf_config_str, TRUE); }

    // What an element says about interface 1; what it adds to the collected text.
    std::string print(std::uint32_t uuid, std::uint32_t elem_id) {
        g_string_truncate(g_intf_config_str, 0);
        qarn_merge_key key = {static_cast<std::uint16_t>(uuid), static_cast<std::uint16_t>(elem_id)};
        vertex vertex = {};
        vertex.data = &key;
        alignas(4) unsigned char unaligned[5] = {0, 1, 0, 0, 0};
        watch([&] { qarn_intf_cfg_print(&vertex, unaligned + 1); });
        EXPECT_EQ(sw.tlv_vars_depth, 0);
        return g_intf_config_str->str;
    }
    void send_line(const char *name) {
        watch([&] { qarn_send_intf_info(name); });
        EXPECT_EQ(sw.tlv_vars_depth, 0);
    }
    void store_command(const sim::Bytes &message) {
        qarn_parse_tlv(Tlv().element({.uuid = 7, .property = 4, .val_type = 1}).intf_command(1, message).array().data(),
                       merge_elem_table_p);
    }
    unsigned char *stored_command() {
        const std::uint32_t index = 1;
        return static_cast<unsigned char *>(
            g_hash_table_lookup(qarn_merge_value_get(7, 0)->elem->ifindex_table, &index));
    }
};

TEST_F(InterfacePrinter, CollectsTheTextForTheInterface) {
    qarn_elem *elem = test::store_element({.uuid = 5, .property = QARN_PROP_INTF});
    test::add_intf_text(elem, 1, "  shut");
    test::add_intf_text(elem, 2, "  other\n");
    EXPECT_EQ(print(5, 0), "  shut\n");
    EXPECT_EQ(print(5, 0), "  shut\n") << "its newline was added in place";
    EXPECT_EQ(g_all_intf_config_printed, 1);
    EXPECT_EQ(text, "");
    EXPECT_EQ(traces, "");
    const std::pair<const char *, sim::ElementInfo> silent[] = {
        {"not there", {.uuid = 1}},
        {"another kind of value", {.uuid = 2, .property = 4, .val_type = 2}},
        {"no interface element", {.uuid = 3}},
        {"nothing for this interface", {.uuid = 4, .property = 4}},
    };
    for (const auto &[what, info] : silent) {
        g_all_intf_config_printed = 0;
        if (info.uuid != 1) {
            qarn_elem *quiet = test::store_element(info);
            test::add_intf_text(quiet, info.uuid == 4 ? 2 : 1, "text\n");
        }
        EXPECT_EQ(print(info.uuid, 0) + text, "") << what;
        EXPECT_EQ(g_all_intf_config_printed, info.uuid == 1 ? 0 : 1) << what;
    }
}

TEST_F(InterfacePrinter, PrintsAHeaderBeforeTheFirstTextOfAFeature) {
    test::add_intf_text(test::store_element({.uuid = 5, .property = QARN_PROP_INTF}), 1, "");
    const std::tuple<const char *, std::int32_t, std::int32_t, std::int32_t, const char *> cases[] = {
        {"a feature", 1, 0, 0, "\ninterface Ethernet1/1\n"},
        {"the header is out", 1, 0, 1, ""},
        {"all services", 1, 1, 0, ""},
        {"no feature", 0, 0, 0, ""}};
    for (const auto &[what, feature, send_all, printed, expected] : cases) {
        qarn_feature = feature;
        qarn_feature_send_all = send_all;
        g_intf_config_printed = printed;
        EXPECT_EQ(print(5, 0), "") << what;
        EXPECT_EQ(text, expected) << what;
        EXPECT_EQ(g_intf_config_printed, expected[0] != '\0' || printed == 1) << what;
    }
}

TEST_F(InterfacePrinter, RendersCommandMessages) {
    for (const std::uint32_t stamp : {std::uint32_t{QARN_CMD_STAMP}, QARN_CMD_STAMP_SWAPPED}) {
        store_command(command_message("  shut", stamp, 42));
        EXPECT_EQ(print(7, 0), "");
        EXPECT_EQ(text, "  shut\n");
        EXPECT_EQ(sw.calls, (Calls{"init_global_tlv_vars()", "cmd_show_run_opt_cr(0)", "sr_cmds_cleanup()",
                                   "reset_global_tlv_vars()"}));
        EXPECT_EQ(cmd_debug_flags, 42u);
    }
    EXPECT_EQ(print(7, 0) + text, "  shut\n") << "the stored message is still the service's";
    store_command(command_message(""));
    EXPECT_EQ(print(7, 0) + text, "") << "rendered as nothing";
}

TEST_F(InterfacePrinter, PrecedesAFeaturesCommandsWithTheirInterfaceLine) {
    qarn_feature = 1;
    store_command(command_message("  shut"));
    for (const std::int32_t send_all : {0, 1}) {
        qarn_feature_send_all = send_all;
        g_intf_config = 0;
        print(7, 0);
        EXPECT_EQ(text, "\ninterface Ethernet1/1\n  shut\n");
        EXPECT_EQ(calls_of("cmd_rep_attr_add"), Calls{"cmd_rep_attr_add(0x30030003, 12)"});
        EXPECT_EQ(calls_of("cmd_req_init"), Calls{"cmd_req_init(16000)"});
        EXPECT_EQ(calls_of("init_global_tlv_vars").size(), 2u);
        EXPECT_EQ(g_intf_config, 1);
    }
}

std::string xml_call;
void render_xml(void *handle, std::uint32_t option, void *user_data) {
    xml_call = std::string(static_cast<char *>(handle) + QARN_CMD_PREFIX_SIZE + QARN_CMD_HEADER_SIZE) + " " +
               std::to_string(option) + " " + static_cast<const char *>(user_data);
}

TEST_F(InterfacePrinter, LeavesXmlToItsRenderer) {
    static char user_data[] = "mine";
    store_command(command_message("  shut"));
    cmd_output_format = 1;
    print(7, 0);
    EXPECT_EQ(text, "  shut\n") << "without an XML renderer";
    g_cmd_xml_info[2] = render_xml;
    g_user_data = user_data;
    print(7, 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(xml_call, "  shut 2 mine");
    EXPECT_EQ(sw.calls, (Calls{"init_global_tlv_vars()", "reset_global_tlv_vars()"}));
    cmd_output_format = 2;
    print(7, 0);
    EXPECT_EQ(text, "  shut\n") << "another format";
}

TEST_F(InterfacePrinter, SkipsWhatItCannotRender) {
    test::FailingMalloc memory;
    const sim::Bytes message = command_message("  shut");
    store_command(message);
    memory.fail_nth(1, message.size() + QARN_CMD_PREFIX_SIZE);
    EXPECT_EQ(print(7, 0) + text, "");
    EXPECT_EQ(sw.calls, (Calls{"init_global_tlv_vars()", "reset_global_tlv_vars()"}));
    const std::uint32_t wrong = 0x1abce;
    std::memcpy(stored_command() + QARN_CMD_STAMP_AT, &wrong, sizeof wrong);
    EXPECT_EQ(print(7, 0), "");
    EXPECT_EQ(text, "ERROR: qarn_intf_prnt: bad message\n");

    memory.fail_nth(1, 16000);
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "ERROR: qarn_send_intf_info :malloc failed\n");
    EXPECT_EQ(sw.calls, Calls());
    send_line(nullptr);
    EXPECT_EQ(text, "qarn_send_intf_info NULL returning\n");
    EXPECT_EQ(sw.calls, Calls());
    sw.next("cmd_req_init", {});
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "ERROR: qarn_send_intf_info :Bad handle h\n");
    sw.next("cmd_rep_flush", {});
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "ERROR: qarn_send_intf_info :Bad message\n");
    memory.fail_nth(2);
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "") << "no render handle";
    EXPECT_EQ(g_intf_config, 0);
    sw.next("cmd_rep_attr_add", {1});
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "") << "an empty message renders as nothing";
    EXPECT_EQ(g_intf_config, 1);
}

TEST_F(InterfacePrinter, TracesLookUpsAndTexts) {
    debug = QARN_DEBUG_LOOKUP | QARN_DEBUG_PRINT;
    qarn_elem *elem = test::store_element({.uuid = 5, .property = QARN_PROP_INTF});
    EXPECT_EQ(print(5, 0), "");
    EXPECT_EQ(traces, "String for (5,0) was 0\nString lookup for (5,0) was 0\n");
    EXPECT_EQ(text, "");
    test::add_intf_text(elem, 1, "  \n x");
    print(5, 0);
    const std::uint32_t index = 1;
    auto *line = static_cast<GString *>(g_hash_table_lookup(elem->ifindex_table, &index));
    char found[32];
    std::snprintf(found, sizeof found, "%x", static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(line)));
    EXPECT_EQ(traces, std::string("String for (5,0) was 0\nString lookup for (5,0) was ") + found + "\n");
    EXPECT_EQ(text, "Printing config for UUID:5 Elem:0\n  \n xUUID:5 Elem:0 is an empty string\n");
    g_string_assign(line, "x");
    print(5, 0);
    EXPECT_EQ(text, "Printing config for UUID:5 Elem:0\nx");
    store_command(command_message("  shut"));
    debug = QARN_DEBUG_LOOKUP;
    print(7, 0);
    EXPECT_EQ(traces, "String for (7,0) was 0\nString lookup for (7,0) was 0\n");
    test::store_element({.uuid = 8});
    print(8, 0);
    EXPECT_EQ(traces, "String for (8,0) was 0\n");
}

TEST_F(InterfacePrinter, SeesBlankFirstLines) {
    const std::pair<std::string, std::int32_t> cases[] = {
        {"", 1},      {"\n", 1},   {"   ", 1},  {" \t\v\f\r", 1}, {"  \nwords", 1}, {" a", 0},
        {"a\n\n", 0}, {"\xe4", 0}, {"\xff", 0}, {" \xa0", 0},     {"!", 0},         {std::string("\0", 1), 0},
    };
    for (const auto &[line, blank] : cases)
        EXPECT_EQ(qarn_print_isspace_check(line.c_str(), static_cast<std::int32_t>(line.size())), blank) << line;
    EXPECT_EQ(qarn_print_isspace_check("words", 0), 1);
    EXPECT_EQ(qarn_print_isspace_check("words", -1), 1);
    EXPECT_EQ(qarn_print_isspace_check("  words", 2), 1);
}

TEST_F(InterfacePrinter, WarnsOfUnnecessarySpaces) {
    sw.service("stp", 20, 11);
    gl_q = 3;
    watch([] { qarn_isspace_err_print(11, 7); });
    EXPECT_EQ(text, "*** Warning ***: Service stp with UUID:11(Elem:7) is printing unnecessary spaces\n");
    EXPECT_EQ(sw.calls, Calls{"sysmgrcmn_srv_uuid_name_get(3, 5, 11, 256)"});
    watch([] { qarn_isspace_err_print(12, 7); });
    EXPECT_EQ(text, "*** Warning ***: Service with UUID:12(Elem:7) is printing unnecessary spaces\n");
}

} // namespace
