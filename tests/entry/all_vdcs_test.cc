// The command that shows every virtual device context: what surrounds the output of each one's own shell, how that
// shell is started, and what happens when something fails on the way.
#include <unistd.h>

#include "platform/sysmgr.h"
#include "support/story.h"

namespace {

using Words = std::vector<std::string>;

class AllVdcs : public test::Story {
  protected:
    AllVdcs() {
        req.cmd_code = QARN_COMMAND_RUNNING_VDCS;
        sw.output = stdout; // a file while a command runs
        sw.vdcs = {{1, "sw1"}, {2, "red"}, {3, "blue", false}};
        sw.run_program = [this](const Words &words) {
            started.push_back(words);
            dprintf(STDOUT_FILENO, "(%s)\n", words.at(2).c_str()); // past what this process buffers
            return results[words.at(2)];
        };
    }
    uint32_t show() {
        started.clear();
        return run(qarn_cli_run_cfg_gen_vdcall);
    }
    std::vector<Words> started;
    std::map<std::string, int32_t> results; // of the shells, by VDC id
};

TEST_F(AllVdcs, AreShownInTheOrderOfTheMapAsOneScript) {
    const std::tuple<uint32_t, std::string, std::string> cases[] = {
        {QARN_COMMAND_RUNNING_VDCS, "show running", "Running config for "},
        {QARN_COMMAND_RUNNING_ALL_VDCS, "show running all", "Running config for "},
        {QARN_COMMAND_STARTUP_VDCS, "show startup", "Startup config for "}};
    for (const auto &[code, command, header] : cases) {
        req.cmd_code = code;
        EXPECT_EQ(show(), 0u);
        EXPECT_EQ(traces, "!" + header + (code == QARN_COMMAND_STARTUP_VDCS ? "" : "default ") + "vdc: sw1\n\n(1)\n!" +
                              header + "vdc: red\n\n\nswitchto vdc red\n(2)\nswitchback\n");
        EXPECT_EQ(started, (std::vector<Words>{{"/opux/bin/vsh", "-i", "1", "-o 40", "-c", command},
                                               {"/opux/bin/vsh", "-i", "2", "-o 40", "-c", command}}));
    }
    req.cmd_code = QARN_COMMAND_RUNNING_VDCS;
    show();
    const std::string whole = traces;
    for (const char *vdc : {"1", "2"}) {
        results = {{vdc, -1}};
        EXPECT_EQ(show(), 1u) << "the shell of " << vdc << " fails";
        EXPECT_EQ(traces, whole);
    }
}

TEST_F(AllVdcs, HaveHeadersWhenTheMapNamesMoreThanOne) {
    const std::pair<std::vector<sim::Vdc>, const char *> cases[] = {
        {{{1, "sw1"}}, "(1)\n"},
        {{{4, "red"}}, "(4)\n"},
        {{{0, ""}, {1, "sw1"}}, "(1)\n"},
        {{{2, "red", false}, {1, "sw1"}}, "!Running config for default vdc: sw1\n\n(1)\n"},
        {{{1, "sw1", false}, {2, "red", false}}, ""},
    };
    for (const auto &[vdcs, expected] : cases) {
        sw.vdcs = vdcs;
        EXPECT_EQ(show(), 0u);
        EXPECT_EQ(traces, expected);
    }
}

TEST_F(AllVdcs, EndWhereThePlatformFailsAndRememberTheirTokens) {
    const std::string header = "!Running config for default vdc: sw1\n\n(1)\n";
    results["1"] = 1; // does not count any more when the next VDC cannot be asked for
    add_token(130);
    add_token(202);
    sw.next("vdc_map_get", {0xabc});
    EXPECT_EQ(show(), 0u);
    EXPECT_EQ(traces, "VDC map get failed abc\n");
    EXPECT_EQ(std::pair(cmd_token_id, g_bypass_ppm), std::pair(202u, 0)) << "the last, without its other meaning";
    sw.next("vdc_is_active", {0xabc, 0, 1});
    EXPECT_EQ(show(), 0u);
    EXPECT_EQ(traces, header + "vdc_is_active failed abc\n");
    req.cmd_code = 166;
    EXPECT_EQ(show(), 0u);
    EXPECT_EQ(traces, "Wrong command\nWrong command\nswitchback\n");
    EXPECT_EQ(started, std::vector<Words>());
    req.valid = 2;
    EXPECT_EQ(show(), 1u);
    EXPECT_EQ(traces, std::string(syserr2str(QARN_STATUS_INVALID)) + "\n");
    EXPECT_EQ(sw.calls, Words());
}

} // namespace
