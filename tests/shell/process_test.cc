// A shell or its command is interrupted or killed.
#include <gtest/gtest.h>
#include <signal.h>

#include <string>

#include "live_shell.h"

namespace {

TEST(ShellProcess, GoesOnAfterAnInterruptedCommand) {
    SKIP_WITHOUT_TERMINALS();
    for (const char *arguments : {kSilent, kDelayed}) {
        Shell shell(arguments, connect_to_dumb_terminal);
        shell.type("show running-config\n");
        ASSERT_TRUE(shell.shows("Sap ctr = 1\r\n")) << shell.out;
        shell.type("\x03");
        ASSERT_TRUE(shell.shows("vsh: command interrupted\r\n")) << shell.out;
        shell.type("show running-config service loud\nexit\n");
        EXPECT_EQ(shell.status(), 130);
        EXPECT_NE(shell.out.find("\r\nloud\r\n"), std::string::npos) << shell.out;
    }
}

TEST(ShellProcess, EndsAScriptWithAnInterruptedCommand) {
    Shell shell(std::string(kSilent) + " <<.\nshow running-config\nshow running-config service loud\n.\n");
    ASSERT_TRUE(shell.shows(kWaiting)) << shell.out;
    shell.signal(SIGINT); // to the shell alone
    EXPECT_EQ(shell.status(), 130);
    EXPECT_EQ(shell.out.find("\nloud\n"), std::string::npos) << shell.out;
}

TEST(ShellProcess, ExplainsWhatHasComeBeforeAnInterruption) {
    Shell shell(std::string(kSilent) + " -c 'explain running-config'");
    ASSERT_TRUE(shell.shows(kWaiting)) << shell.out;
    shell.signal(SIGINT);
    EXPECT_EQ(shell.status(), 130);
    EXPECT_NE(shell.out.find("own text   | loud\n"), std::string::npos) << shell.out;
    EXPECT_NE(shell.out.find("when the command was interrupted\n"), std::string::npos) << shell.out;
}

TEST(ShellProcess, ClearsTheLineOnAnInterruptionAtThePrompt) {
    SKIP_WITHOUT_TERMINALS();
    Shell shell(kLoud, connect_to_dumb_terminal);
    ASSERT_TRUE(shell.shows("x# ")) << shell.out;
    shell.type("nosuch\x03");
    ASSERT_TRUE(shell.shows("^C\r\nx# ")) << shell.out;
    shell.type("exit\n");
    EXPECT_EQ(shell.status(), 0) << shell.out;
}

TEST(ShellProcess, EndsAScriptOnAnInterruptionBetweenCommands) {
    Shell shell(kLoud);
    shell.type("nosuch\n");
    ASSERT_TRUE(shell.shows("expected: show")) << shell.out;
    shell.signal(SIGINT);
    EXPECT_EQ(shell.status(), 2); // of the wrong command
    EXPECT_TRUE(shell.out.ends_with("vsh: session interrupted\n")) << shell.out;
}

TEST(ShellProcess, TakesItsCommandAlongWhenASignalEndsIt) {
    constexpr char kSilentVdc[] = "-s " HERE "/silent-vdc.yaml -d 0x40 -c 'show running-config vdc-all'";
    for (const int signal : {SIGTERM, SIGHUP, SIGKILL, SIGQUIT}) {
        for (const std::string &arguments : {kSilent + std::string(" -c 'show running-config'"), {kSilentVdc}}) {
            Shell shell(arguments);
            ASSERT_TRUE(shell.shows(kWaiting)) << shell.out;
            shell.signal(signal);
            EXPECT_EQ(shell.status(), -signal) << arguments;
        }
    }
}

} // namespace
