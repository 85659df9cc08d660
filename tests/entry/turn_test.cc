// One command at a time: an entry point within a command changes nothing, and the final callback may run a second one.
#include "support/story.h"

namespace {

constexpr char kRefused[] = "A configuration command is still running in this process; try again later\n";

constexpr uint32_t (*kEntryPoints[])(qarn_req *) = {
    qarn_cli_run_cfg_gen,
    qarn_cli_start_vlan_cfg_gen,
    qarn_cli_start_template_cfg_gen,
    qarn_cli_run_cfg_gen_exclude,
    qarn_cli_start_cfg_gen_sap,
    qarn_cli_run_cfg_gen_vdcall,
    [](qarn_req *req) { return qarn_generate(req, QARN_SOURCE_RUNNING); },
};

class Turn : public test::Story {
  protected:
    Turn() {
        sw.service("vlan", 20, QARN_UUID_VLAN).element(1, 3).text = "vlan 10\n";
        inner_.valid = 1;
        inner_.mts_handle = req.mts_handle;
        inner_.num_tokens = 1;
        inner_.tokens[0] = &token_;
        std::snprintf(inner_.cmd_line, sizeof inner_.cmd_line, "inner");
    }

    uint32_t sap_ = 20;
    qarn_req_token token_ = {.id = 77, .type = 0, .unused = {}, .value = &sap_};
    qarn_req inner_ = {};
};

TEST_F(Turn, IsRefusedToEveryCommandWithinACommand) {
    run();
    const std::string alone = text;
    const std::size_t points = sw.calls.size();
    std::string refusals;
    std::size_t call = 0;
    sw.on_call = [&](const std::string &platform_call) {
        if (platform_call.starts_with("qarn_cb_run_cfg_generate(")) return; // a command may run in there
        const auto globals = [] { return std::tuple(cfg_display, cmd_token_id, num_saps_exclude, saps_exclude[0]); };
        const auto before = globals();
        const EntryPoint entry_point = kEntryPoints[call++ % std::size(kEntryPoints)];
        EXPECT_EQ(entry_point(&inner_), 1u);
        EXPECT_EQ(globals(), before);
        EXPECT_EQ(inner_.gen_started + inner_.sap, 0u);
        refusals += kRefused;
    };
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(text, alone);
    EXPECT_EQ(sw.calls.size(), points) << "a refused command asks the platform nothing";
    EXPECT_EQ(errors, refusals);
    EXPECT_GT(call, std::size(kEntryPoints));
}

TEST_F(Turn, IsFreeAgainAfterEveryEnding) {
    for (const char *function : {"mts_send", "mts_recv"}) {
        sw.next(function, {.result = -1, .error = EIO, .after = 1});
        EXPECT_EQ(run(), 1u);
    }
    req.valid = 0;
    EXPECT_EQ(run(), 1u);
    req.valid = 1;
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(body(), "vlan 10\n\n");
}

int texts_after_the_callback; // one, unless the other command is let in and prints that it is not valid

int32_t run_another(const char *, ...) {
    ++texts_after_the_callback;
    qarn_req another = {};
    EXPECT_EQ(qarn_cli_run_cfg_gen(&another), 1u);
    return 0;
}

TEST_F(Turn, IsGivenAwayDuringTheFinalCallback) {
    run();
    const std::string alone = text.substr(0, text.size() - 1); // without the closing newline
    sw.services.front().elements.front().property = QARN_PROP_VLAN;

    uint32_t inner_status = 1;
    std::optional<test::Interposed> closing;
    sw.final_callback = [&](qarn_req *caller) {
        if (caller != &req || closing) return 0u;
        inner_status = qarn_cli_run_vlan_cfg_gen(&inner_);
        // The first command still has its closing newline to print: what it calls then is refused again.
        closing.emplace("csm_qarn_sp_print", reinterpret_cast<void *>(run_another));
        return 0u;
    };
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(inner_status, 0u);
    const std::string header = "\n!Command: inner\n!Time: " + std::string(test::kNowText) + "\nversion 4.2(7)\n";
    EXPECT_EQ(text, alone + header + "vlan 10\n\n\n");
    EXPECT_EQ(errors, kRefused) << "in the closing newline";
    EXPECT_EQ(texts_after_the_callback, 1);
    closing.reset();

    EXPECT_EQ(run(), 0u) << "the next command has the turn";
}

} // namespace
