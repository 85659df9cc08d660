// When interface blocks are merged with port profiles, and when a switch profile follows the configuration.
#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

class Profiles : public test::Story {
  protected:
    void init(std::uint32_t cfg_source = 1) {
        watch([&] { qarn_ppm_merge_init(&req, cfg_source); });
    }
};

TEST_F(Profiles, FollowFromTheCommandAndTheFilterMode) {
    struct Case {
        const char *what;
        std::uint32_t token = 0, filter = 0x08, script = 0;
        std::int32_t feature = 0, send_all = 0, bypass = 0;
        std::uint32_t cmd_code = 0, index = 0, vdc_type = 0;
        // expected
        std::uint32_t token_mode = 0, script_mode = 0;
        std::int32_t bypass_switch_profile = 1, bypass_after = 0;
        std::uint32_t filter_after = 0x08;
    } const cases[] = {
        {.what = "a plain command", .bypass_switch_profile = 0},
        {.what = "no filter mode", .filter = 0, .filter_after = 0},
        {.what = "switch profiles refused", .filter = 0x88, .filter_after = 0x88},
        {.what = "bit 0x04 is a script",
         .filter = 0x0c,
         .token_mode = 1,
         .script_mode = 1,
         .bypass_switch_profile = 0,
         .filter_after = 0x0c},
        {.what = "bit 0x40", .filter = 0x48, .token_mode = 1, .bypass_switch_profile = 0, .filter_after = 0x48},
        {.what = "a script", .script = 7, .script_mode = 1, .bypass_switch_profile = 0},
        {.what = "token 203", .token = 203, .token_mode = 1, .bypass_switch_profile = 0},
        {.what = "token 206", .token = 206, .token_mode = 1, .bypass_switch_profile = 0, .filter_after = 0x48},
        {.what = "token 206 without filter bits", .token = 206, .filter = 0, .token_mode = 1, .filter_after = 0x40},
        {.what = "token 206 with bit 0x04",
         .token = 206,
         .filter = 0x0c,
         .token_mode = 1,
         .script_mode = 1,
         .bypass_switch_profile = 0,
         .filter_after = 0x4c},
        {.what = "another token", .token = 130},
        {.what = "one feature", .feature = 1},
        {.what = "all services in feature mode", .feature = 1, .send_all = 1, .bypass_switch_profile = 0},
        {.what = "bypassed by the command", .bypass = 1, .bypass_after = 1},
        {.what = "a command code", .cmd_code = 115},
        {.what = "a feature row", .index = 3},
        {.what = "a VDC without port profiles, decided afterwards",
         .vdc_type = 2,
         .bypass_switch_profile = 0,
         .bypass_after = 1},
        {.what = "another type of VDC", .vdc_type = 3, .bypass_switch_profile = 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        ppm_merge_input = {
            .cmd_code = 9, .reserved = 0, .script_mode = 0, .cfg_source = 9, .bypass = 0, .token_mode = 9};
        cmd_token_id = c.token;
        g_cli_execution_filter_mode = c.filter;
        g_cli_script_mode = c.script;
        qarn_feature = c.feature;
        qarn_feature_send_all = c.send_all;
        g_bypass_ppm = c.bypass;
        req.cmd_code = c.cmd_code;
        req.index = c.index;
        sw.vdc_type = c.vdc_type;
        init(2);
        EXPECT_EQ(ppm_merge_input.token_mode, c.token_mode);
        EXPECT_EQ(ppm_merge_input.script_mode, c.script_mode);
        EXPECT_EQ(g_bypass_sp_qarn, c.bypass_switch_profile);
        EXPECT_EQ(g_bypass_ppm, c.bypass_after);
        EXPECT_EQ(g_cli_execution_filter_mode, c.filter_after);
        EXPECT_EQ(ppm_merge_input.cmd_code, c.cmd_code);
        EXPECT_EQ(ppm_merge_input.cfg_source, 2u);
        std::vector<std::string> calls = {"csm_qarn_sp_init(" + std::to_string(c.token) + ")", "vdc_get_type()"};
        if (c.bypass_switch_profile != 0) calls.erase(calls.begin());
        EXPECT_EQ(sw.calls, calls);
    }
}

TEST_F(Profiles, KeepScriptModeAndTheBypassForLaterCommands) {
    EXPECT_EQ(g_bypass_sp_qarn, 1) << "no switch profile before the first command";
    g_cli_execution_filter_mode = 0x0c;
    sw.vdc_type = 2;
    init();
    EXPECT_EQ(g_bypass_sp_qarn, 0);
    g_cli_execution_filter_mode = 0x08;
    sw.vdc_type = 0;
    init();
    EXPECT_EQ(ppm_merge_input.script_mode, 1u);
    EXPECT_EQ(ppm_merge_input.token_mode, 0u);
    EXPECT_EQ(g_bypass_ppm, 1);
    EXPECT_EQ(g_bypass_sp_qarn, 1) << "the bypass of the command before";
}

} // namespace
