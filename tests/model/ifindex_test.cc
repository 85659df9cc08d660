// Which interfaces a command covers, as the interface manager says.
#include "platform/ifmgr.h"
#include "support/story.h"

namespace {

class InterfaceLists : public test::Story {
  protected:
    InterfaceLists() {
        add_interface(1, "Ethernet1/1", 1);
        add_interface(2, "port-channel1", 20);
        add_interface(3, "Ethernet1/2", 1);
    }

    uint32_t init() {
        watch([&] { status = qarn_ifindex_lists_init(&req); });
        return status;
    }
    static std::vector<uint32_t> combined() {
        return {if_index_list.ifindexes, if_index_list.ifindexes + if_index_list.count};
    }
};

using Indexes = std::vector<uint32_t>;
using Calls = std::vector<std::string>;

TEST_F(InterfaceLists, CombineTheChainInItsOrder) {
    EXPECT_EQ(init(), 0u);
    EXPECT_EQ(combined(), (Indexes{1, 3, 2}));
}

TEST_F(InterfaceLists, AskForNamedInterfacesOnlyInTheirDisplay) {
    constexpr uint32_t kMembership = QARN_TOKEN_MEMBERSHIP;
    constexpr char kNamed[] = "if_manager_ifindex_list_get(0)", kEvery[] = "if_manager_ifindex_list_get(1)";
    const struct {
        const char *what;
        uint32_t display = QARN_DISPLAY_INTERFACE, cmd_token = 0, token_type = QARN_TOKEN_TYPE_INTERFACE;
        Calls calls;
    } cases[] = {
        {.what = "named", .calls = {kNamed}},
        {.what = "another kind of token", .token_type = QARN_TOKEN_TYPE_INTERFACE + 1, .calls = {kEvery}},
        {.what = "no token", .token_type = 0, .calls = {kEvery}},
        {.what = "another display", .display = QARN_DISPLAY_VSAN, .calls = {kEvery}},
        {.what = "membership of named", .cmd_token = kMembership, .calls = {kNamed, kEvery}},
        {.what = "membership of all", .display = 0, .cmd_token = kMembership, .calls = {kEvery, kEvery}},
    };
    for (const auto &c : cases) {
        cfg_display = c.display;
        cmd_token_id = c.cmd_token;
        req.num_tokens = 0;
        if (c.token_type != 0) add_token(0, nullptr, c.token_type);
        EXPECT_EQ(init(), 0u) << c.what;
        EXPECT_EQ(sw.calls, c.calls) << c.what;
    }
}

TEST_F(InterfaceLists, KeepWhatTheyHeldWhenTheManagerFails) {
    cmd_token_id = QARN_TOKEN_MEMBERSHIP;
    init();
    const auto *main_chain = multi_list_head_p, *membership = membership_multi_list_head_p;
    constexpr uint32_t kFailure = 99;
    sw.interfaces.clear();
    sw.error_texts = {{kFailure, "no interfaces today"}};
    for (const uint32_t token : {uint32_t{QARN_TOKEN_MEMBERSHIP}, 0u}) {
        cmd_token_id = token;
        sw.next("if_manager_ifindex_list_get", {kFailure});
        EXPECT_EQ(init(), kFailure) << token;
        EXPECT_EQ(text, "no interfaces today\n");
        EXPECT_EQ(sw.calls.size(), 1u) << "nothing more is asked for";
        EXPECT_EQ(combined(), (Indexes{1, 3, 2}));
        EXPECT_TRUE(multi_list_head_p == main_chain && membership_multi_list_head_p == membership);
    }
}

TEST_F(InterfaceLists, HoldTheFirst20000) {
    sw.interfaces.clear();
    for (uint32_t i = 0; i < QARN_MAX_IFINDEXES + 5; ++i)
        add_interface(i, "", i / 6);
    EXPECT_EQ(init(), 0u);
    ASSERT_EQ(if_index_list.count, QARN_MAX_IFINDEXES + 0u);
    EXPECT_EQ(if_index_list.ifindexes[QARN_MAX_IFINDEXES - 1], QARN_MAX_IFINDEXES - 1u);
    EXPECT_EQ(text, "");
    EXPECT_EQ(errors, "5 interfaces beyond the first 20000 are left out\n");
}

} // namespace
