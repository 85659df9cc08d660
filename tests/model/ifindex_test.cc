// Which interfaces a command covers, as the interface manager says.
#include <tuple>

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

    std::uint32_t init() {
        watch([&] { status = qarn_ifindex_lists_init(&req); });
        return status;
    }
    static std::vector<std::uint32_t> combined() {
        return {if_index_list.ifindexes, if_index_list.ifindexes + if_index_list.count};
    }
};

using Indexes = std::vector<std::uint32_t>;
using Calls = std::vector<std::string>;

TEST_F(InterfaceLists, CombineTheChainInItsOrder) {
    EXPECT_EQ(init(), 0u);
    EXPECT_EQ(combined(), (Indexes{1, 3, 2}));
    test::FailingMalloc memory;
    memory.fail_nth(1);
    EXPECT_EQ(init(), 0u);
    EXPECT_EQ(if_index_list.count, 0u);
    EXPECT_EQ(if_index_list.ifindexes, nullptr);
}

TEST_F(InterfaceLists, AskForNamedInterfacesOnlyInTheirDisplay) {
    // display, command token, kind of the request's token unless it has none; which lists are asked for
    const std::tuple<const char *, std::uint32_t, std::uint32_t, std::uint32_t, std::string> cases[] = {
        {"named", 3, 0, QARN_TOKEN_TYPE_INTERFACE, "0"},
        {"another kind of token", 3, 0, QARN_TOKEN_TYPE_INTERFACE + 1, "1"},
        {"no token", 3, 0, 0, "1"},
        {"another display", 1, 0, QARN_TOKEN_TYPE_INTERFACE, "1"},
        {"membership of named", 3, 167, QARN_TOKEN_TYPE_INTERFACE, "01"},
        {"membership of all", 0, 167, 0, "11"},
    };
    for (const auto &[what, display, token, type, lists] : cases) {
        cfg_display = display;
        cmd_token_id = token;
        req.num_tokens = 0;
        if (type != 0) add_token(130, nullptr, type);
        EXPECT_EQ(init(), 0u) << what;
        Calls calls;
        for (const char list : lists)
            calls.push_back(std::string("if_manager_ifindex_list_get(") + list + ")");
        EXPECT_EQ(sw.calls, calls) << what;
    }
}

TEST_F(InterfaceLists, KeepWhatTheyHeldWhenTheManagerFails) {
    cmd_token_id = 167;
    init();
    const auto *main_chain = multi_list_head_p, *membership = membership_multi_list_head_p;
    sw.interfaces.clear();
    sw.error_texts = {{99, "no interfaces today"}};
    for (const std::uint32_t token : {167u, 0u}) {
        cmd_token_id = token;
        sw.next("if_manager_ifindex_list_get", {99});
        EXPECT_EQ(init(), 99u) << token;
        EXPECT_EQ(text, "no interfaces today\n");
        EXPECT_EQ(sw.calls.size(), 1u) << "nothing more is asked for";
        EXPECT_EQ(combined(), (Indexes{1, 3, 2}));
        EXPECT_TRUE(multi_list_head_p == main_chain && membership_multi_list_head_p == membership);
    }
}

TEST_F(InterfaceLists, HoldTheFirst20000) {
    sw.interfaces.clear();
    for (std::uint32_t i = 0; i < 20005; ++i)
        add_interface(i, "", i / 6);
    EXPECT_EQ(init(), 0u);
    ASSERT_EQ(if_index_list.count, 20000u);
    EXPECT_EQ(if_index_list.ifindexes[19999], 19999u);
    EXPECT_EQ(text, "");
    EXPECT_EQ(errors, "5 interfaces beyond the first 20000 are left out\n");
}

} // namespace
