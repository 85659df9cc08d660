// When interface blocks are merged with port profiles, and when a switch profile follows the configuration.
#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

class Profiles : public test::Story {
  protected:
    void init(uint32_t cfg_source = QARN_SOURCE_RUNNING) {
        watch([&] { qarn_ppm_merge_init(&req, cfg_source); });
    }
};

TEST_F(Profiles, FollowFromTheCommandAndTheFilterMode) {
    constexpr uint32_t kSwitch = CLI_FILTER_SWITCH_PROFILE, kFrame = CLI_FILTER_SYNC_FRAME, kScript = CLI_FILTER_SCRIPT;
    struct Case {
        const char *what;
        uint32_t token = 0, filter = kSwitch, script = 0;
        int32_t feature = 0, send_all = 0, bypass = 0;
        uint32_t cmd_code = 0, row = 0, vdc_type = 0;
        bool shown = false; // the switch profile; this and the rest follow from the above
        uint32_t token_mode = 0, script_mode = 0;
        int32_t bypass_after = 0;
        uint32_t filter_after = filter;
    } const cases[] = {
        {.what = "a plain command", .shown = true},
        {.what = "no filter bit", .filter = 0},
        {.what = "switch profiles refused", .filter = kSwitch | CLI_FILTER_NO_SWITCH_PROFILE},
        {.what = "the filter bit of a script",
         .filter = kSwitch | kScript,
         .shown = true,
         .token_mode = 1,
         .script_mode = 1},
        {.what = "a script of the shell", .script = 1, .shown = true, .script_mode = 1},
        {.what = "the filter bit of the frame", .filter = kSwitch | kFrame, .shown = true, .token_mode = 1},
        {.what = "the body's token", .token = QARN_TOKEN_SYNC_BODY, .shown = true, .token_mode = 1},
        {.what = "plain",
         .token = QARN_TOKEN_SYNC_PLAIN,
         .shown = true,
         .token_mode = 1,
         .filter_after = kSwitch | kFrame},
        {.what = "another token", .token = 130},
        {.what = "one feature", .feature = 1},
        {.what = "all services in feature mode", .feature = 1, .send_all = 1, .shown = true},
        {.what = "bypassed by the command", .bypass = 1, .bypass_after = 1},
        {.what = "a command code", .cmd_code = 115},
        {.what = "a row", .row = 1},
        {.what = "a VDC without profiles, decided last", .vdc_type = 2, .shown = true, .bypass_after = 1},
    };
    for (const Case &c : cases) {
        ppm_merge_input = {9, 0, 0, 9, 0, 9}; // what every generation sets, from the one before
        cmd_token_id = c.token;
        g_cli_execution_filter_mode = c.filter;
        g_cli_script_mode = c.script;
        qarn_feature = c.feature;
        qarn_feature_send_all = c.send_all;
        g_bypass_ppm = c.bypass;
        req.cmd_code = c.cmd_code;
        req.index = c.row;
        sw.vdc_type = c.vdc_type;
        init(QARN_SOURCE_STARTUP);
        EXPECT_EQ(ppm_merge_input.token_mode, c.token_mode) << c.what;
        EXPECT_EQ(ppm_merge_input.script_mode, c.script_mode) << c.what;
        EXPECT_EQ(ppm_merge_input.cmd_code, c.cmd_code) << c.what;
        EXPECT_EQ(ppm_merge_input.cfg_source, QARN_SOURCE_STARTUP + 0u) << c.what;
        EXPECT_EQ(g_bypass_sp_qarn, c.shown ? 0 : 1) << c.what;
        EXPECT_EQ(g_bypass_ppm, c.bypass_after) << c.what;
        EXPECT_EQ(g_cli_execution_filter_mode, c.filter_after) << c.what;
        std::vector<std::string> calls = {"vdc_get_type()"};
        if (c.shown) calls.insert(calls.begin(), "csm_qarn_sp_init(" + std::to_string(c.token) + ")");
        EXPECT_EQ(sw.calls, calls) << c.what;
    }
}

TEST_F(Profiles, KeepScriptModeAndTheBypassForLaterCommands) {
    g_cli_execution_filter_mode = CLI_FILTER_SWITCH_PROFILE | CLI_FILTER_SCRIPT;
    sw.vdc_type = 2;
    init();
    EXPECT_EQ(g_bypass_sp_qarn, 0);
    g_cli_execution_filter_mode = CLI_FILTER_SWITCH_PROFILE;
    sw.vdc_type = 0;
    init();
    EXPECT_EQ(ppm_merge_input.script_mode, 1u);
    EXPECT_EQ(ppm_merge_input.token_mode, 0u);
    EXPECT_EQ(g_bypass_ppm, 1);
    EXPECT_EQ(g_bypass_sp_qarn, 1) << "the bypass of the command before";
}

} // namespace
