// One element of an ordered level: the walk of a feature's interfaces, the members of port channels, and what port
// profiles make of it.
#include <cstdlib>
#include <cstring>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "support/story.h"

namespace {

using test::add_intf_text;
using test::store_element;
using Calls = std::vector<std::string>;

class ElementPrinter : public test::Story {
  protected:
    ElementPrinter() {
        test::start_generation(&req);
        setenv("SYSMGR_VDC_ID", "1", 1);
        gl_q = 6;
    }

    // The switch's interfaces reach the chains.
    void load_interfaces() {
        qarn_ifindex_lists_init(&req);
        sw.calls.clear();
    }
    // An interface element, in the order in which the interface pass would queue it.
    qarn_elem *interface_element(std::uint32_t uuid, const std::map<std::uint32_t, std::string> &texts,
                                 std::uint32_t property = QARN_PROP_INTF) {
        qarn_elem *elem = store_element({.uuid = uuid, .elem_id = 1, .property = property});
        for (const auto &[if_index, intf_text] : texts)
            add_intf_text(elem, if_index, intf_text);
        enqueue(&intf_element_q, vertex_of(uuid, 1));
        return elem;
    }
    vertex *vertex_of(std::uint32_t uuid, std::uint32_t elem_id) {
        keys_.push_back({static_cast<std::uint16_t>(uuid), static_cast<std::uint16_t>(elem_id)});
        vertices_.push_back({});
        vertices_.back().data = &keys_.back();
        return &vertices_.back();
    }
    std::string print(std::uint32_t uuid, std::uint32_t elem_id) {
        qarn_cfg_req_msg request;
        std::memset(&request, 0, sizeof request);
        request.vsan_mask.bits[0] = 0x40; // VSAN 1
        watch([&] { qarn_element_cfg_print(vertex_of(uuid, elem_id), &request); });
        EXPECT_EQ(g_intf_config_str, nullptr) << "released after every interface";
        return text;
    }

  private:
    std::deque<qarn_merge_key> keys_;
    std::deque<vertex> vertices_;
};

TEST_F(ElementPrinter, MergesPortProfilesUnlessTheyAreBypassed) {
    add_interface(1, "Ethernet1/1", 7).port_profile = "web";
    sw.port_profiles["web"] = "  mtu 9216\n";
    load_interfaces();
    interface_element(5, {{1, "  shut\n"}});
    const std::string plain = "\ninterface Ethernet1/1\n  shut\n", merged = plain + "  mtu 9216\n";
    // In the display of one feature the interface printer writes a header too, from the name that its walk left.
    const std::string twice = "\ninterface Ethernet1/1\n\ninterface \n  shut\n";
    const struct {
        const char *what;
        int32_t feature = 0, send_all = 0, bypass = 0;
        uint32_t filter = 0;
        std::string expected;
    } cases[] = {
        {.what = "merged", .expected = merged},
        {.what = "other filter bits", .filter = ~uint32_t{CLI_FILTER_NO_PROFILE_MERGE}, .expected = merged},
        {.what = "filter bit", .filter = CLI_FILTER_NO_PROFILE_MERGE, .expected = plain},
        {.what = "bypassed", .bypass = 1, .expected = plain},
        {.what = "all services in feature mode", .feature = 1, .send_all = 1, .expected = merged},
        {.what = "one feature", .feature = 1, .expected = twice},
    };
    ppm_merge_input.cfg_source = QARN_SOURCE_STARTUP;
    for (const auto &c : cases) {
        qarn_feature = c.feature;
        qarn_feature_send_all = c.send_all;
        g_bypass_ppm = c.bypass;
        g_cli_execution_filter_mode = c.filter;
        EXPECT_EQ(print(QARN_UUID_INTERFACE, 7), c.expected) << c.what;
        const Calls asked = {"ppm_intf_shrun_merge(6, 0x1, {0, 0, 0, 2, 0, 0})"};
        EXPECT_EQ(calls_of("ppm_intf_shrun_merge"), c.expected == merged ? asked : Calls()) << c.what;
        EXPECT_EQ(ppm_merge_input.bypass, static_cast<uint32_t>(c.bypass)) << c.what;
    }
    qarn_feature = g_bypass_ppm = 0;
    g_cli_execution_filter_mode = 0;
    sw.next("ppm_intf_shrun_merge", {});
    EXPECT_EQ(print(QARN_UUID_INTERFACE, 7), "\ninterface Ethernet1/1\n") << "no merged text, no body";
}

TEST_F(ElementPrinter, FollowsPortChannelsByTheirMembers) {
    add_interface(0x16000001, "port-channel1", 20).members = {1, 2};
    add_interface(0x16000002, "port-channel2", 20);
    add_interface(0x16000003, "port-channel3.1", 20).port_channel_sub_interface = true;
    add_interface(1, "Ethernet1/1", 7).members = {2};
    add_interface(2, "Ethernet1/2", 7).port_profile = "web";
    sw.port_profiles["web"] = "  mtu 9216\n";
    cmd_token_id = QARN_TOKEN_MEMBERSHIP;
    load_interfaces();
    interface_element(5, {{1, "  one\n"}, {2, "  two\n"}, {0x16000001, "  lacp\n"}});
    const std::string channels = "\ninterface port-channel2\n\ninterface port-channel3.1\n";
    EXPECT_EQ(print(QARN_UUID_INTERFACE, 20),
              "\ninterface port-channel1\n  lacp\n\ninterface Ethernet1/1\n  one\n"
              "\ninterface Ethernet1/2\n  two\n" +
                  channels);
    EXPECT_EQ(calls_of("pcm_get_pc_info"), (Calls{"pcm_get_pc_info(1, 0x16000001)", "pcm_get_pc_info(1, 0x16000002)"}));
    EXPECT_EQ(calls_of("ppm_intf_shrun_merge").size(), 3u) << "members are merged under a filter bit only";
    g_cli_execution_filter_mode = CLI_FILTER_NO_PROFILE_MERGE | CLI_FILTER_SWITCH_PROFILE;
    EXPECT_EQ(print(QARN_UUID_INTERFACE, 20),
              "\ninterface port-channel1\n  lacp\n\ninterface Ethernet1/1\n  one\n"
              "\ninterface Ethernet1/2\n  two\n  mtu 9216\n" +
                  channels);
    sw.error_texts = {{99, "not today"}};
    sw.next("pcm_get_pc_info", {99});
    EXPECT_EQ(print(QARN_UUID_INTERFACE, 20),
              "\ninterface port-channel1\n  lacp\n"
              "pcm_get_pc_info failed for 0x16000001 retval not today\n" +
                  channels);
    for (std::uint32_t member = 3; member <= 40; ++member)
        sw.interfaces[0].members.push_back(member);
    const std::string many = print(QARN_UUID_INTERFACE, 20);
    EXPECT_NE(many.find("\ninterface if0x24\n" + channels), std::string::npos) << "the first 36 of 40\n" << many;
}

TEST_F(ElementPrinter, AsksForMembersInTheVdcOfTheShell) {
    add_interface(0x16000001, "port-channel1", 20);
    cmd_token_id = QARN_TOKEN_MEMBERSHIP;
    load_interfaces();
    for (const auto &[value, vdc] : {std::pair("3", "3"), {"65538", "2"}, {"absent", "1"}}) {
        setenv("SYSMGR_VDC_ID", value, 1);
        if (std::string_view(value) == "absent") unsetenv("SYSMGR_VDC_ID");
        print(QARN_UUID_INTERFACE, 20);
        EXPECT_EQ(calls_of("pcm_get_pc_info"), Calls{std::string("pcm_get_pc_info(") + vdc + ", 0x16000001)"});
    }
}

} // namespace
