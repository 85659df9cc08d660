// When interface blocks are merged with port profiles, and when a switch profile follows the configuration.
#include <array>
#include <tuple>

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
    constexpr char kShown[] = "switch profile", kNot[] = "none";
    // token, filter mode, script, feature, send_all, bypass, command code, row, VDC type; then token mode, script mode,
    // what follows, bypass and filter mode afterwards
    using Words = std::array<std::uint32_t, 9>;
    using Decided = std::tuple<std::uint32_t, std::uint32_t, std::string, std::int32_t, std::uint32_t>;
    const std::tuple<const char *, Words, Decided> cases[] = {
        {"a plain command", {0, 0x08}, {0, 0, kShown, 0, 0x08}},
        {"switch profiles refused", {0, 0x88}, {0, 0, kNot, 0, 0x88}},
        {"bit 0x04 is a script", {0, 0x0c}, {1, 1, kShown, 0, 0x0c}},
        {"bit 0x40", {0, 0x48}, {1, 0, kShown, 0, 0x48}},
        {"token 203", {203, 0x08}, {1, 0, kShown, 0, 0x08}},
        {"token 206", {206, 0x08}, {1, 0, kShown, 0, 0x48}},
        {"token 206 without filter bits", {206, 0}, {1, 0, kNot, 0, 0x40}},
        {"another token", {130, 0x08}, {0, 0, kNot, 0, 0x08}},
        {"one feature", {0, 0x08, 0, 1}, {0, 0, kNot, 0, 0x08}},
        {"all services in feature mode", {0, 0x08, 0, 1, 1}, {0, 0, kShown, 0, 0x08}},
        {"bypassed by the command", {0, 0x08, 0, 0, 0, 1}, {0, 0, kNot, 1, 0x08}},
        {"a command code", {0, 0x08, 0, 0, 0, 0, 115}, {0, 0, kNot, 0, 0x08}},
        {"a VDC without port profiles, decided afterwards", {0, 0x08, 0, 0, 0, 0, 0, 0, 2}, {0, 0, kShown, 1, 0x08}},
    };
    for (const auto &[what, given, decided] : cases) {
        ppm_merge_input = {9, 0, 0, 9, 0, 9};
        cmd_token_id = given[0];
        g_cli_execution_filter_mode = given[1];
        g_cli_script_mode = given[2];
        qarn_feature = static_cast<std::int32_t>(given[3]);
        qarn_feature_send_all = static_cast<std::int32_t>(given[4]);
        g_bypass_ppm = static_cast<std::int32_t>(given[5]);
        req.cmd_code = given[6];
        req.index = given[7];
        sw.vdc_type = given[8];
        init(2);
        const Decided found = {ppm_merge_input.token_mode, ppm_merge_input.script_mode,
                               g_bypass_sp_qarn == 0 ? kShown : kNot, g_bypass_ppm, g_cli_execution_filter_mode};
        EXPECT_EQ(found, decided) << what;
        EXPECT_EQ(ppm_merge_input.cmd_code, req.cmd_code) << what;
        EXPECT_EQ(ppm_merge_input.cfg_source, 2u) << what;
        std::vector<std::string> calls = {"csm_qarn_sp_init(" + std::to_string(given[0]) + ")", "vdc_get_type()"};
        if (g_bypass_sp_qarn != 0) calls.erase(calls.begin());
        EXPECT_EQ(sw.calls, calls) << what;
    }
}

TEST_F(Profiles, KeepScriptModeAndTheBypassForLaterCommands) {
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
