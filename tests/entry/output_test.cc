// The output phase: header, levels, the switch profile and the final callback.
#include "platform/cmdshell.h"
#include "platform/sysmgr.h"
#include "support/story.h"

namespace {

class Output : public test::Story {
  protected:
    static constexpr uint32_t kPlain = CLI_FILTER_SWITCH_PROFILE, kFramed = kPlain | CLI_FILTER_SYNC_FRAME;
    static constexpr uint32_t kAnswer = 99; // of the final callback

    // A service whose elements a test adds with element().
    Output() {
        sw.service("a", 20, 1);
        sw.final_callback = [](qarn_req *) { return kAnswer; };
    }
    void element(uint32_t id, uint32_t level, const std::string &own) {
        sw.services.front().element(id, level).text = own;
    }
    void show_switch_profile(uint32_t filter_mode) {
        g_cli_execution_filter_mode = filter_mode;
        generate();
    }
};

TEST_F(Output, PrintsTheSwitchProfileAfterTheLevels) {
    element(1, 12, "last\n");
    sw.switch_profile = {0, "head\n", "  body\n"};
    const struct {
        const char *what;
        uint32_t filter = kFramed, token = 0;
        std::string expected;
        std::size_t asked = 1;
    } cases[] = {
        {.what = "none is asked for", .filter = 0, .expected = "last\n", .asked = 0},
        {.what = "plain", .filter = kPlain, .expected = "last\nhead\n\n  body\n"},
        {.what = "framed", .expected = "last\nhead\n\nconfigure sync\n  body\n  commit\n"},
        {.what = "body", .token = QARN_TOKEN_SYNC_BODY, .expected = "last\n\nconfigure sync\n  body\n  commit\n"},
        {.what = "without its frame", .token = QARN_TOKEN_SYNC_PLAIN, .expected = "last\nhead\n\n  body\n"},
    };
    for (const auto &c : cases) {
        cmd_token_id = c.token;
        add_nl = 0;
        show_switch_profile(c.filter);
        EXPECT_EQ(body(), c.expected) << c.what;
        EXPECT_EQ(calls_of("csm_get_switch_profile_qarn").size(), c.asked) << c.what;
    }
    cmd_token_id = add_nl = 0;
    sw.switch_profile = {0, "head\n", {}};
    show_switch_profile(kFramed);
    EXPECT_EQ(body(), "last\nhead\n");
}

TEST_F(Output, EndsWithoutASwitchProfileThatCannotBeHad) {
    constexpr uint32_t kNotReady = 7;
    element(1, 12, "last\n");
    show_switch_profile(kPlain); // the manager answers none
    EXPECT_EQ(text, header() + "last\n") << "no closing newline";
    EXPECT_EQ(status, QARN_STATUS_FAILED + 0u);
    sw.error_texts[kNotReady] = "not ready";
    sw.switch_profile = {kNotReady, "head\n", "body\n"};
    show_switch_profile(kPlain);
    EXPECT_EQ(body(), "\nlast\nconfig sync manager returned error:not ready\n");
    EXPECT_EQ(status, kNotReady);
    EXPECT_EQ(calls_of("qarn_cb_run_cfg_generate").size(), 0u);
}

TEST_F(Output, EndsInTheFinalCallbackOfItsDisplay) {
    add_interface(7, "mgmt0", 1);
    const std::map<uint32_t, uint32_t> flags_of_called = {
        {QARN_DISPLAY_ALL, 0},
        {QARN_DISPLAY_VSAN, QARN_INFO_VSANS_SHOWN},
        {QARN_DISPLAY_VLAN, QARN_INFO_VLANS_SHOWN},
        {QARN_DISPLAY_BFD, 0},
        {QARN_DISPLAY_L2MP, 0},
        {QARN_DISPLAY_NO_L2MP, 0},
        {QARN_DISPLAY_FEX, 0},
        {QARN_DISPLAY_NO_FEX, 0},
    };
    for (cfg_display = 0; cfg_display <= QARN_DISPLAY_TEMPLATE + 1; ++cfg_display) {
        const auto called = flags_of_called.find(cfg_display);
        req.info_flags = 0;
        EXPECT_EQ(generate(), called != flags_of_called.end() ? kAnswer : 0u) << cfg_display;
        EXPECT_EQ(req.info_flags, called != flags_of_called.end() ? called->second : 0u) << cfg_display;
        req.info_flags = QARN_INFO_PLAIN;
        EXPECT_EQ(generate(), 0u) << "the shell asks for a plain display";
    }
}

TEST_F(Output, EndsInTheFinalCallbackForAllServicesInFeatureMode) {
    for (const auto &[sap, expected] : {std::pair(1u, kAnswer), {20u, 0u}}) {
        qarn_feature_send_all = 0;
        req.sap = sap;
        EXPECT_EQ(generate(), expected);
    }
}

TEST_F(Output, GivesTheFinalCallbackTheIdsShown) {
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
