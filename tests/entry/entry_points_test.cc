// The entry points: what each sets before the driver runs, and what it returns.
#include "platform/sysmgr.h"
#include "support/story.h"

namespace {

using Saps = std::vector<uint32_t>;

constexpr uint32_t kOwnSap = 4000, kSap = 20, kOtherSap = 21;

class EntryPoints : public test::Story {
  protected:
    EntryPoints() {
        sw.service("a", kSap, 1);
        sw.service("b", kOtherSap, 2);
    }
};

TEST_F(EntryPoints, OfAFilteredDisplayLeaveItToThePlainOne) {
    save_startup();
    EXPECT_EQ(run(qarn_cli_start_vlan_cfg_gen), 0u);
    EXPECT_EQ(sent_request().display, QARN_DISPLAY_VLAN + 0u);
    EXPECT_EQ(sent_request().cfg_source, QARN_SOURCE_STARTUP + 0u);
    run();
    EXPECT_EQ(sent_request().display, QARN_DISPLAY_VLAN + 0u);
    EXPECT_EQ(sent_request().cfg_source, QARN_SOURCE_RUNNING + 0u);
}

TEST_F(EntryPoints, RefuseARequestThatIsNotValid) {
    req.valid = 2;
    add_sap_token(kSap);
    for (const EntryPoint entry :
         {qarn_cli_run_cfg_gen, qarn_cli_run_cfg_gen_exclude, qarn_cli_start_cfg_gen_sap, qarn_cli_run_vlan_cfg_gen}) {
        EXPECT_EQ(run(entry), 1u);
        EXPECT_EQ(text, std::string(syserr2str(QARN_STATUS_INVALID)) + "\n");
        EXPECT_EQ(sw.calls, std::vector<std::string>());
    }
    EXPECT_EQ(cfg_display, QARN_DISPLAY_VLAN + 0u) << "set all the same";
    EXPECT_EQ(num_saps_exclude, 0);
}

TEST_F(EntryPoints, ApplyTheirOwnTokens) {
    for (const uint32_t id : {QARN_TOKEN_NO_PROFILE_MERGE, QARN_TOKEN_EXTRA_STARTUP, QARN_TOKEN_EXTRA_RUNNING})
        add_token(id);
    req.num_tokens = 4; // the last one is missing
    run();
    EXPECT_EQ(g_bypass_ppm, 1);
    EXPECT_EQ(cmd_token_id, QARN_TOKEN_EXTRA_STARTUP + 0u) << "an ordinary token in running displays";
    EXPECT_EQ(req.info_flags, QARN_INFO_EXTRA_OPT + 0u);
    req.info_flags = 0;
    run(qarn_cli_start_cfg_gen);
    EXPECT_EQ(cmd_token_id, QARN_TOKEN_EXTRA_RUNNING + 0u);
    EXPECT_EQ(req.info_flags, uint32_t{QARN_INFO_EXTRA_OPT} | QARN_INFO_STARTUP);
}

TEST_F(EntryPoints, OfNamedServicesApplyNoTokens) {
    save_startup();
    add_sap_token(kSap);
    req.tokens[0]->id = QARN_TOKEN_NO_PROFILE_MERGE;
    for (const EntryPoint entry : {qarn_cli_start_cfg_gen_sap, qarn_cli_start_cfg_gen_exclude}) {
        run(entry);
        EXPECT_EQ(sent_request().cfg_source, QARN_SOURCE_STARTUP + 0u);
        EXPECT_EQ(g_bypass_ppm, 0);
    }
}

TEST_F(EntryPoints, ExcludeServicesFromTheNextCommandToo) {
    sw.service("c", 22, 3);
    add_sap_token(kSap);
    add_sap_token(22);
    req.sap = 1; // one by one
    for (const EntryPoint entry : {qarn_cli_run_cfg_gen_exclude, qarn_cli_run_cfg_gen}) {
        EXPECT_EQ(run(entry), 0u);
        EXPECT_EQ(asked(), (Saps{kOwnSap, kOtherSap}));
        EXPECT_EQ(sent_request().num_excl_saps, 2u);
    }
}

TEST_F(EntryPoints, KnowNoServiceWithSap0) {
    add_token(0);
    for (const EntryPoint entry : {qarn_cli_run_cfg_gen_sap, qarn_cli_start_cfg_gen_sap}) {
        EXPECT_EQ(run(entry), 0u);
        EXPECT_EQ(text, "Invalid SAP\n");
    }
}

TEST_F(EntryPoints, ShowTemplatesOnACardThatHasThem) {
    save_startup();
    sw.card = 0xa00b6; // 182 in the low 16 bits, which count
    EXPECT_EQ(run(qarn_cli_start_template_cfg_gen), 0u);
    EXPECT_EQ(sent_request().display, QARN_DISPLAY_TEMPLATE + 0u);
    sw.card = 100;
    EXPECT_EQ(run(qarn_cli_start_template_cfg_gen), 0u);
    EXPECT_EQ(text, "ERROR: Command not supported on this platform\n");
}

} // namespace
