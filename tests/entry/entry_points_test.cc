// The entry points: what each sets before the driver runs, and what it returns.
#include "platform/sysmgr.h"
#include "support/story.h"

namespace {

class EntryPoints : public test::Story {
  protected:
    EntryPoints() { sw.service("a", 20, 1); }
};

TEST_F(EntryPoints, SetTheDisplayAndTheSource) {
    // Kept apart from the store, which these do not need: the stored configuration is not there.
    const struct {
        std::uint32_t display;
        EntryPoint running, startup;
    } cases[] = {
        {1, qarn_cli_run_vsan_cfg_gen, qarn_cli_start_vsan_cfg_gen},
        {2, qarn_cli_run_vlan_cfg_gen, qarn_cli_start_vlan_cfg_gen},
        {3, qarn_cli_run_intf_cfg_gen, qarn_cli_start_intf_cfg_gen},
        {6, qarn_cli_run_profile_cfg_gen, qarn_cli_start_profile_cfg_gen},
        {7, qarn_cli_run_bfd_cfg_gen, qarn_cli_start_bfd_cfg_gen},
        {8, qarn_cli_run_l2mp_cfg_gen, qarn_cli_start_l2mp_cfg_gen},
        {9, qarn_cli_run_exclude_l2mp_cfg_gen, qarn_cli_start_exclude_l2mp_cfg_gen},
        {10, qarn_cli_run_fex_cfg_gen, qarn_cli_start_fex_cfg_gen},
        {11, qarn_cli_run_exclude_fex_cfg_gen, qarn_cli_start_exclude_fex_cfg_gen},
    };
    add_interface(7, "mgmt0", 1);
    for (const auto &[display, running, startup] : cases) {
        EXPECT_EQ(run(running), 0u);
        EXPECT_EQ(sent_request().display, display);
        EXPECT_EQ(sent_request().cfg_source, 1u);
        cfg_display = 99;
        EXPECT_EQ(run(startup), 1u) << display;
        EXPECT_EQ(text, "no startup configuration present\n");
        EXPECT_EQ(cfg_display, display);
    }
    run();
    EXPECT_EQ(sent_request().display, 11u) << "the plain display keeps the last one";
}

TEST_F(EntryPoints, RefuseARequestThatIsNotValid) {
    req.valid = 2;
    add_sap_token(20);
    for (const EntryPoint entry : {qarn_cli_run_cfg_gen, qarn_cli_start_cfg_gen, qarn_cli_run_cfg_gen_exclude,
                                   qarn_cli_start_cfg_gen_sap, qarn_cli_run_vlan_cfg_gen}) {
        EXPECT_EQ(run(entry), 1u);
        EXPECT_EQ(text, std::string(syserr2str(0x40540022)) + "\n");
        EXPECT_EQ(sw.calls, std::vector<std::string>());
    }
    EXPECT_EQ(cfg_display, 2u) << "set all the same";
    EXPECT_EQ(num_saps_exclude, 0);
}

TEST_F(EntryPoints, TakeUpTheirOwnTokens) {
    for (const std::uint32_t id : {202u, 130u, 205u, 204u})
        add_token(id);
    req.num_tokens = 5; // the last one is missing
    run();
    EXPECT_EQ(g_bypass_ppm, 1);
    EXPECT_EQ(cmd_token_id, 205u) << "205 means something to startup displays only";
    EXPECT_EQ(req.info_flags, 0x20u);
    EXPECT_EQ(sent_request().extra_opt, 1u);
    EXPECT_EQ(sent_request().cfg_source, 1u);
    req.info_flags = 0;
    run(qarn_cli_start_cfg_gen);
    EXPECT_EQ(cmd_token_id, 204u);
    EXPECT_EQ(req.info_flags, 0x22u);
    req.num_tokens = 0;
    run();
    EXPECT_EQ(cmd_token_id, 204u) << "a command without tokens changes nothing";
    cmd_token_id = 0;
    save_startup();
    add_sap_token(20);
    for (const EntryPoint entry : {qarn_cli_start_cfg_gen_sap, qarn_cli_start_cfg_gen_exclude}) {
        run(entry);
        EXPECT_EQ(sent_request().cfg_source, 2u);
        EXPECT_EQ(cmd_token_id, 0u) << "these take up no tokens";
    }
}

TEST_F(EntryPoints, ExcludeTheServicesThatTheTokensName) {
    sw.service("b", 21, 2).replies(test::line(2, "b\n"));
    sw.service("c", 22, 3).replies(test::line(3, "c\n"));
    add_sap_token(20);
    add_sap_token(22);
    EXPECT_EQ(run(qarn_cli_run_cfg_gen_exclude), 0u);
    EXPECT_EQ(body(), "b\n\n");
    EXPECT_EQ(sent_request(1).num_excl_saps, 2u);
    req.sap = 1; // one by one
    EXPECT_EQ(run(qarn_cli_run_cfg_gen_exclude), 0u);
    EXPECT_EQ(asked(), (std::vector<std::uint32_t>{4000, 21}));
    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(asked(), (std::vector<std::uint32_t>{4000, 21})) << "the next command leaves them out too";
}

TEST_F(EntryPoints, AskOneService) {
    sw.service("b", 21, 2).replies(test::line(2, "b\n"));
    add_sap_token(21);
    EXPECT_EQ(run(qarn_cli_run_cfg_gen_sap), 0u);
    EXPECT_EQ(body(), "b\n\n");
    EXPECT_EQ(asked(), (std::vector<std::uint32_t>{4000, 21}));
    req.tokens[0]->value = nullptr;
    for (const EntryPoint entry : {qarn_cli_run_cfg_gen_sap, qarn_cli_start_cfg_gen_sap}) {
        EXPECT_EQ(run(entry), 0u);
        EXPECT_EQ(text, "Invalid SAP\n");
    }
}

TEST_F(EntryPoints, ShowTemplatesOnTheCardsThatHaveThem) {
    // The low 16 bits count.
    for (const std::uint32_t card : {182u, 0xa00b0u, 249u, 248u, 222u, 237u, 223u, 183u, 206u, 100u}) {
        cfg_display = 0;
        sw.card = card;
        EXPECT_EQ(run(qarn_cli_start_template_cfg_gen), card == 100 ? 0u : 1u) << card;
        EXPECT_EQ(text, card == 100 ? "ERROR: Command not supported on this platform\n"
                                    : "no startup configuration present\n");
        EXPECT_EQ(cfg_display, card == 100 ? 0u : 16u);
    }
}

} // namespace
