// Interface blocks: what port profiles make of them, and the members of port channels.
#include <cstdlib>

#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kChannel = 0x16000001, kFailure = 99;
constexpr uint32_t kBlock = 7, kChannelBlock = 20;
constexpr char kMerge[] = "ppm_intf_shrun_merge", kMembers[] = "pcm_get_pc_info";

class InterfaceBlocks : public test::Story {
  protected:
    InterfaceBlocks() {
        add_interface(1, "Ethernet1/1", kBlock).port_profile = "web";
        sw.port_profiles["web"] = "  mtu 9216\n";
        sw.error_texts = {{kFailure, "not today"}};
        ports.intf_texts = {{1, "  shut\n"}};
    }
    std::string show() {
        generate();
        EXPECT_EQ(g_intf_config_str, nullptr) << "released after every interface";
        return body();
    }
    sim::Element &ports = sw.service("ports", 20, 5).element(1, 2, QARN_PROP_INTF);
    sim::Service &blocks = sw.service("blocks", 21, QARN_UUID_INTERFACE);
    sim::Element &block = blocks.element(kBlock, 4);
};

TEST_F(InterfaceBlocks, AreMergedWithPortProfilesUnlessTheyAreBypassed) {
    const std::string plain = "\ninterface Ethernet1/1\n  shut\n", merged = plain + "  mtu 9216\n";
    const struct {
        const char *what;
        uint32_t sap = 0;
        int32_t bypass = 0;
        uint32_t filter = 0;
        std::string expected;
    } cases[] = {
        {.what = "merged", .expected = merged},
        {.what = "other filter bits", .filter = CLI_FILTER_SCRIPT | CLI_FILTER_SYNC_FRAME, .expected = merged},
        {.what = "filter bit", .filter = CLI_FILTER_NO_PROFILE_MERGE, .expected = plain},
        {.what = "bypassed", .bypass = 1, .expected = plain},
        {.what = "all services in feature mode", .sap = 1, .expected = merged},
    };
    for (const auto &c : cases) {
        req.sap = c.sap;
        g_bypass_ppm = c.bypass;
        g_cli_execution_filter_mode = c.filter;
        EXPECT_EQ(show(), c.expected) << c.what;
        EXPECT_EQ(calls_of(kMerge).size(), c.expected == merged ? 1u : 0u) << c.what;
        EXPECT_EQ(ppm_merge_input.bypass, static_cast<uint32_t>(c.bypass)) << c.what;
    }
}

TEST_F(InterfaceBlocks, AreEmptyWithoutAMergedText) {
    sw.next(kMerge, {});
    EXPECT_EQ(show(), "\ninterface Ethernet1/1\n");
    EXPECT_EQ(calls_of(kMerge), Calls{"ppm_intf_shrun_merge(1, 0x1, {0, 0, 0, 1, 0, 0})"});
}

// The display of interfaces with the members of port channels.
class MembershipBlocks : public InterfaceBlocks {
  protected:
    MembershipBlocks() {
        cmd_token_id = QARN_TOKEN_MEMBERSHIP;
        add_interface(kChannel, "port-channel1", kChannelBlock).members = {1};
        add_interface(kChannel + 1, "port-channel2.1", kChannelBlock).port_channel_sub_interface = true;
        sw.interfaces.front().members = {2}; // is no port channel
        block.id = kChannelBlock;
        ports.intf_texts.emplace_back(kChannel, "  lacp\n");
    }
    const std::string first = "\ninterface port-channel1\n  lacp\n", member = "\ninterface Ethernet1/1\n  shut\n",
                      sub_interface = "\ninterface port-channel2.1\n";
};

TEST_F(MembershipBlocks, FollowTheirPortChannel) {
    EXPECT_EQ(show(), first + member + sub_interface);
    EXPECT_EQ(calls_of(kMerge).size(), 2u) << "members are merged under a filter bit only";
    g_cli_execution_filter_mode = CLI_FILTER_NO_PROFILE_MERGE | CLI_FILTER_SWITCH_PROFILE;
    sw.switch_profile.emplace();
    EXPECT_EQ(show(), first + member + "  mtu 9216\n" + sub_interface);
    block.id = kBlock;
    EXPECT_EQ(show(), member) << "as in any other display";
}

TEST_F(MembershipBlocks, AreLeftOutWhenTheirManagerFails) {
    sw.next(kMembers, {kFailure});
    EXPECT_EQ(show(), first + "pcm_get_pc_info failed for 0x16000001 retval not today\n" + sub_interface);
}

TEST_F(MembershipBlocks, AreThoseOfTheFirst36Members) {
    sw.interfaces[1].members.assign(QARN_MAX_PC_MEMBERS + 4, 1);
    std::string expected = first;
    for (int i = 0; i < QARN_MAX_PC_MEMBERS; ++i)
        expected += member;
    EXPECT_EQ(show(), expected + sub_interface);
    req.dbg_mask = QARN_DEBUG_INTERFACE;
    generate();
    EXPECT_NE(traces.find("Found 40 members for ifIndex 0x16000001\n"), std::string::npos) << traces;
}

TEST_F(MembershipBlocks, AreAskedForInTheVdcOfTheShell) {
    for (const auto &[value, vdc] : {std::pair("3", "3"), {"65538", "2"}, {"none", "0"}, {"", "0"}, {"absent", "1"}}) {
        setenv("SYSMGR_VDC_ID", value, 1);
        if (std::string_view(value) == "absent") unsetenv("SYSMGR_VDC_ID");
        show();
        EXPECT_EQ(calls_of(kMembers), Calls{std::string("pcm_get_pc_info(") + vdc + ", 0x16000001)"});
    }
}

} // namespace
