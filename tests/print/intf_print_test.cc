// What interface elements say about one interface: text that is collected, command messages that the shell's renderer
// turns into text at once.
#include <cstring>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "support/story.h"

namespace {

using sim::command_message;
using test::Tlv;
using Calls = std::vector<std::string>;

constexpr uint16_t kUuid = 7;

class InterfacePrinter : public test::Story {
  protected:
    InterfacePrinter() {
        test::start_generation(&req);
        g_intf_config_str = g_string_new("");
        std::strcpy(gif_index_buf, "Ethernet1/1");
    }
    ~InterfacePrinter() override { g_string_free(g_intf_config_str, TRUE); }

    // What the element adds to the collected text of interface 1.
    std::string print() {
        g_string_truncate(g_intf_config_str, 0);
        qarn_merge_key key = {kUuid, 0};
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
        const Tlv tlv = Tlv().element({.uuid = kUuid, .property = QARN_PROP_INTF, .val_type = QARN_VAL_COMMAND});
        qarn_parse_tlv(Tlv(tlv).intf_command(1, message).array().data(), merge_elem_table_p);
    }
};

TEST_F(InterfacePrinter, RendersCommandMessages) {
    for (const uint32_t stamp : {uint32_t{QARN_CMD_STAMP}, QARN_CMD_STAMP_SWAPPED}) {
        store_command(command_message("  shut", stamp, 42));
        EXPECT_EQ(print(), "");
        EXPECT_EQ(text, "  shut\n");
        EXPECT_EQ(sw.calls, (Calls{"init_global_tlv_vars()", "cmd_show_run_opt_cr(0)", "sr_cmds_cleanup()",
                                   "reset_global_tlv_vars()"}));
        EXPECT_EQ(cmd_debug_flags, 42u);
    }
    EXPECT_EQ(print() + text, "  shut\n") << "the stored message is still the service's";
    store_command(command_message(""));
    EXPECT_EQ(print() + text, "") << "rendered as nothing";
}

TEST_F(InterfacePrinter, PrecedesAFeaturesCommandsWithTheirInterfaceLine) {
    qarn_feature = 1;
    store_command(command_message("  shut"));
    print();
    EXPECT_EQ(text, "\ninterface Ethernet1/1\n  shut\n");
    EXPECT_EQ(calls_of("cmd_rep_attr_add"), Calls{"cmd_rep_attr_add(0x30030003, 12)"});
    EXPECT_EQ(calls_of("cmd_req_init"), Calls{"cmd_req_init(16000)"});
    EXPECT_EQ(g_intf_config, 1);
}

std::string xml_call;
void render_xml(void *handle, uint32_t option, void *user_data) {
    xml_call = std::string(static_cast<char *>(handle) + QARN_CMD_PREFIX_SIZE + QARN_CMD_HEADER_SIZE) + " " +
               std::to_string(option) + " " + static_cast<const char *>(user_data);
}

TEST_F(InterfacePrinter, LeavesXmlToItsRenderer) {
    static char user_data[] = "mine";
    store_command(command_message("  shut"));
    cmd_output_format = 1;
    print();
    EXPECT_EQ(text, "  shut\n") << "without an XML renderer";
    g_cmd_xml_info[2] = render_xml;
    g_user_data = user_data;
    print();
    EXPECT_EQ(text + xml_call, "  shut 2 mine");
}

TEST_F(InterfacePrinter, ReportsABadCommandMessage) {
    store_command(command_message("  shut"));
    const uint32_t wrong = 0x1abce, index = 1;
    auto *stored =
        static_cast<char *>(g_hash_table_lookup(qarn_merge_value_get(kUuid, 0)->elem->ifindex_table, &index));
    std::memcpy(stored + QARN_CMD_STAMP_AT, &wrong, sizeof wrong);
    EXPECT_EQ(print(), "");
    EXPECT_EQ(text, "ERROR: qarn_intf_prnt: bad message\n");
}

TEST_F(InterfacePrinter, ReportsAnInterfaceLineThatCannotBeMade) {
    send_line(nullptr);
    EXPECT_EQ(text, "qarn_send_intf_info NULL returning\n");
    for (const auto &[function, fault] : {std::pair("cmd_req_init", "handle h"), {"cmd_rep_flush", "message"}}) {
        sw.next(function, {});
        send_line("Ethernet1/1");
        EXPECT_EQ(text, std::string("ERROR: qarn_send_intf_info :Bad ") + fault + "\n");
    }
    test::FailingMalloc memory;
    memory.fail_nth(1, CMD_REPLY_BUFFER_SIZE);
    send_line("Ethernet1/1");
    EXPECT_EQ(text, "ERROR: qarn_send_intf_info :malloc failed\n");
}

TEST_F(InterfacePrinter, SeesBlankFirstLines) {
    const std::pair<std::string, int32_t> cases[] = {
        {"", 1}, {"\n", 1}, {" \t\v\f\r", 1}, {"  \nwords", 1}, {" a", 0}, {"a\n\n", 0}, {"\xff", 0}, {" \xa0", 0},
    };
    for (const auto &[line, blank] : cases)
        EXPECT_EQ(qarn_print_isspace_check(line.c_str(), static_cast<int32_t>(line.size())), blank) << line;
    EXPECT_EQ(qarn_print_isspace_check("  words", 2), 1);
}

TEST_F(InterfacePrinter, WarnsOfUnnecessarySpaces) {
    sw.service("stp", 20, 11);
    watch([] { qarn_isspace_err_print(11, 7); });
    EXPECT_EQ(text, "*** Warning ***: Service stp with UUID:11(Elem:7) is printing unnecessary spaces\n");
    watch([] { qarn_isspace_err_print(12, 7); });
    EXPECT_EQ(text, "*** Warning ***: Service with UUID:12(Elem:7) is printing unnecessary spaces\n");
}

} // namespace
