// A long text on a terminal. The terminal reports no size, so that it counts as one of 24 rows, of which the last is
// for the prompt.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "live_shell.h"

namespace {

constexpr char kShort[] = "-c 'show running-config | exclude ^! | head 23'",
               kLong[] = "-c 'show running-config | exclude ^! | head 24'";
// Parts of descriptions: a service that never answers, in this VDC or in another one.
constexpr char kMute[] = "  - {name: mute, sap: 7, uuid: 8, silent: true}\n",
               kMuteVdc[] = "vdcs: [{id: 1, name: x}, {id: 2, name: mute, switch: " HERE "/silent.yaml}]\n";

// Each test, in a process of its own, has files of its own.
std::string own_file(const std::string &name) {
    return testing::TempDir() + name + std::to_string(getpid());
}

// The option for a switch with a service that is longer than the screen.
std::string long_switch(const std::string &more) {
    std::string text;
    for (int line = 0; line < 30; ++line)
        text += "line\\n";
    const std::string path = own_file("paging");
    std::ofstream(path) << "name: x\nversion: '1'\nservices:\n  - {name: loud, sap: 5, uuid: 6, "
                        << "elements: [{id: 1, level: 1, text: \"" << text << "\"}]}\n"
                        << more;
    return "-s " + path;
}

int connect_to_tiny_terminal(pid_t &pid) {
    int terminal = -1;
    const struct winsize size = {2, 80, 0, 0};
    pid = forkpty(&terminal, nullptr, nullptr, &size);
    return terminal;
}

class Paging : public testing::Test {
  protected:
    void SetUp() override { SKIP_WITHOUT_TERMINALS(); }
    Paging() {
        setenv("TERM", "xterm", 1);
        setenv("PAGER", "sed 's/^/page: /'", 1);
        setenv("NO_COLOR", "1", 1);
    }
    ~Paging() override {
        std::filesystem::remove(own_file("paging"));
        std::filesystem::remove_all(own_file("paging-store"));
    }
    Paging(const Paging &) = delete;
    Paging &operator=(const Paging &) = delete;

    // What the shell writes to a terminal. The status is kept.
    std::string shown(const std::string &arguments, int (*connect)(pid_t &) = connect_to_terminal) {
        Shell shell(arguments, connect);
        status = shell.status();
        return shell.out;
    }
    bool is_paged(const std::string &arguments) { return shown(arguments).find("page: ") != std::string::npos; }

    int status = -1;
};

TEST_F(Paging, TakesOnlyATextThatIsLongerThanTheScreen) {
    EXPECT_FALSE(is_paged(kShort));
    EXPECT_TRUE(is_paged(kLong));
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(is_paged(kLong + std::string(" --no-pager")));
    EXPECT_FALSE(is_paged("-c 'show running-config | no-more'"));
    EXPECT_FALSE(is_paged(kLong + std::string(" </dev/null")));
    EXPECT_EQ(shown(kLong, connect_to_tiny_terminal).find("page: "), std::string::npos);
    setenv("TERM", "dumb", 1);
    EXPECT_FALSE(is_paged(kLong));
}

TEST_F(Paging, ShowsTheTextWithoutAPagerThatCannotStart) {
    const std::string whole = shown(kLong + std::string(" --no-pager"));
    setenv("PAGER", "/no/such/pager", 1);
    const std::string out = shown(kLong);
    EXPECT_EQ(out, "vsh: pager: 1: /no/such/pager: not found\r\n" + whole);
    EXPECT_EQ(status, 0);
}

TEST_F(Paging, LetsThePagerShowColors) {
    setenv("PAGER", "cat >/dev/null; echo \"LESS=$LESS\"", 1);
    unsetenv("LESS");
    EXPECT_EQ(shown(kLong), "LESS=FRX\r\n");
    setenv("LESS", "i", 1);
    EXPECT_EQ(shown(kLong), "LESS=i\r\n");
}

TEST_F(Paging, EndsACommandWhosePagerEnds) {
    setenv("PAGER", "head -n 1", 1);
    shown(long_switch(kMuteVdc) + " -c 'show running-config vdc-all'");
    EXPECT_EQ(status, 0);
}

TEST_F(Paging, EndsTheLineOfAPagerThatIsKilled) {
    setenv("PAGER", "printf :; kill -9 $$", 1);
    EXPECT_EQ(shown(kLong), ":\r\n");
    EXPECT_EQ(status, 0);
}

TEST_F(Paging, ReportsAfterThePagerWhatIsMissing) {
    setenv("PAGER", "cat; echo end of the pager", 1);
    const std::string out = shown(long_switch(kMute) + " --timeout-unit 1 -c 'show running-config'");
    EXPECT_EQ(status, 3);
    EXPECT_TRUE(
        out.ends_with("end of the pager\r\n"
                      "vsh: incomplete: mute (SAP 7): sent no complete reply in time\r\n"))
        << out;
}

TEST_F(Paging, ShowsControlCharactersAndColorsOnATerminalOnly) {
    const std::string store = own_file("paging-store");
    std::filesystem::create_directories(store + "/startup-cfg");
    std::ofstream(store + "/startup-cfg/system.cfg")
        << "! a\nhead \x1b[31m\xc2\x9b \x9b \xe2\x80\xae\xc3\xa9\n  body\n";
    const std::string show = "--store " + store + " -c 'show startup-config'";
    EXPECT_EQ(shown(show), "! a\r\nhead ^[[31m\\x9b \\x9b \\u202e\xc3\xa9\r\n  body\r\n");
    unsetenv("NO_COLOR");
    EXPECT_EQ(shown(show), "\x1b[2m! a\x1b[0m\r\n\x1b[1mhead\x1b[0m ^[[31m\\x9b \\x9b \\u202e\xc3\xa9\r\n  body\r\n");
    setenv("TERM", "nosuch", 1);
    EXPECT_EQ(shown(show), "! a\r\nhead ^[[31m\\x9b \\x9b \\u202e\xc3\xa9\r\n  body\r\n");
    EXPECT_EQ(shown(show + " | cat"), "! a\r\nhead \x1b[31m\xc2\x9b \x9b \xe2\x80\xae\xc3\xa9\r\n  body\r\n");
}

} // namespace
