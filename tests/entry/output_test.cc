// The output phase: header, levels, the switch profile and the final callback.
#include "platform/cmdshell.h"
#include "platform/sysmgr.h"
#include "support/story.h"

namespace {

class Output : public test::Story {
  protected:
    // A service whose elements a test adds with element().
    Output() { sw.service("a", 20, 1); }
    sim::Element &element(std::uint32_t id, std::uint32_t level, const std::string &own) {
        sim::Element &added = sw.services.front().element(id, level);
        added.text = own;
        return added;
    }
    void show_switch_profile(std::uint32_t filter_mode) {
        g_cli_execution_filter_mode = filter_mode;
        generate();
    }
};

TEST_F(Output, PrintsTheSwitchProfileBehindTheLevels) {
    element(1, 12, "last\n");
    sw.switch_profile = {0, "head\n", "  body\n"};
    const std::tuple<const char *, std::uint32_t, std::uint32_t, std::string> cases[] = {
        {"none is asked for", 0, 0, "last\n"},
        {"plain", 0x08, 0, "last\nhead\n\n  body\n"},
        {"framed", 0x48, 0, "last\nhead\n\nconfigure sync\n  body\n  commit\n"},
        {"without its head", 0x48, 203, "last\n\nconfigure sync\n  body\n  commit\n"},
        {"without its frame", 0x48, 206, "last\nhead\n\n  body\n"},
        {"filtered out", 0x88, 0, "last\n"},
    };
    for (const auto &[what, filter, token, expected] : cases) {
        cmd_token_id = token;
        add_nl = 0;
        show_switch_profile(filter);
        EXPECT_EQ(body(), expected) << what;
        EXPECT_EQ(calls_of("csm_get_switch_profile_qarn").size(), (filter & 0x88) == 0x08 ? 1u : 0u) << what;
    }
    cmd_token_id = add_nl = 0;
    sw.switch_profile = {0, "head\n", {}};
    show_switch_profile(0x48);
    EXPECT_EQ(body(), "last\nhead\n");
}

TEST_F(Output, EndsWithoutASwitchProfileThatCannotBeHad) {
    element(1, 12, "last\n");
    sw.final_callback = [](qarn_req *) { return 99u; };
    show_switch_profile(0x08); // the manager answers none
    EXPECT_EQ(text.substr(text.size() - 5), "last\n") << "no closing newline";
    EXPECT_EQ(status, 0x405f0001u);
    sw.error_texts[7] = "not ready";
    sw.switch_profile = {7, "head\n", "body\n"};
    show_switch_profile(0x08);
    EXPECT_EQ(body(), "\nlast\nconfig sync manager returned error:not ready\n");
    EXPECT_EQ(status, 7u);
    EXPECT_EQ(calls_of("qarn_cb_run_cfg_generate").size(), 0u);
}

TEST_F(Output, EndsInTheFinalCallbackOfItsDisplay) {
    element(1, 3, "text\n");
    add_interface(7, "mgmt0", 1);
    sw.final_callback = [](qarn_req *) { return 99u; };
    for (std::uint32_t display = 0; display <= 17; ++display) {
        cfg_display = display;
        req.info_flags = 0;
        req.vsan_mask.bits[3] = 0x7f;
        const bool called = display <= 2 || (display >= 7 && display <= 11);
        EXPECT_EQ(generate(), called ? 99u : 0u) << display;
        EXPECT_EQ(text.back(), '\n');
        EXPECT_EQ(req.info_flags, display == 1 ? 0x01u : display == 2 ? 0x10u : 0u) << display;
        req.info_flags = 0x04;
        EXPECT_EQ(generate(), 0u) << "skipped by the shell";
    }
    cfg_display = 0;
    req.info_flags = 0;
    for (const auto &[feature, send_all] : {std::pair(1, 1), std::pair(1, 0)}) {
        qarn_feature = feature;
        qarn_feature_send_all = send_all;
        num_saps = 1;
        saps[0] = 20;
        EXPECT_EQ(generate(), send_all == 1 ? 99u : 0u);
    }
}

TEST_F(Output, TellsTheFinalCallbackWhichIdsWereShown) {
    element(1, 3, "text\n");
    add_ranges_token({{8, 9}});
    req.vsan_mask.bits[1] = 0xbf;
    sw.final_callback = [](qarn_req *shown) {
        const qarn_id_mask &mask = cfg_display == QARN_DISPLAY_VSAN ? shown->vsan_mask : shown->vlan_mask;
        return mask.bits[1] * 256u + mask.bits[2];
    };
    cfg_display = QARN_DISPLAY_VSAN;
    EXPECT_EQ(generate(), 0x8000u) << "VSAN 9 may not be shown";
    cfg_display = QARN_DISPLAY_VLAN;
    EXPECT_EQ(generate(), 0xc000u);
}

TEST_F(Output, HasNoHeaderForTemplates) {
    element(1, 2, "two\n");
    cfg_display = QARN_DISPLAY_TEMPLATE;
    generate();
    EXPECT_EQ(text, "two\n\n\n");
}

} // namespace
