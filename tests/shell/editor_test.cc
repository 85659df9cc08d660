// A user types at a terminal. Every step is compared with the whole screen.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "screen.h"

namespace {

namespace fs = std::filesystem;

constexpr char kUp[] = "\x1b[A", kLeft[] = "\x1b[D", kClear[] = "\x15", kInterrupt[] = "\x03", kSearch[] = "\x12";
constexpr char kOneService[] = "-s " HERE "/loud.yaml", kSilentService[] = "-s " HERE "/silent.yaml";

// Sessions keep their lines below a folder of the test.
class Editor : public testing::Test {
  protected:
    void SetUp() override { SKIP_WITHOUT_TERMINALS(); }
    Editor() {
        std::string name = (fs::temp_directory_path() / "vsh-editor.XXXXXX").string();
        folder_ = mkdtemp(name.data());
        setenv("XDG_STATE_HOME", folder_.c_str(), 1);
    }
    ~Editor() override { fs::remove_all(folder_); }

    std::string history() const {
        std::ostringstream text;
        text << std::ifstream(file()).rdbuf();
        return text.str();
    }
    fs::path file() const { return folder_ / "vsh/history"; }

    fs::path folder_;
};

TEST_F(Editor, CompletesWords) {
    constexpr const char *kTyped[][2] = {
        {"sh\tr\t", "show running-config _"},
        {"sh run feature o\t", "sh run feature ospf _"},
        {"sh run vlan 40\t", "sh run vlan 400 _"},
        {"sh run vlan 10,20-40\t", "sh run vlan 10,20-400_"},
        {"sh run int po\t3\t", "sh run int port-channel 3 _"},
        {"sh run int ETH\t", "sh run int ETHernet _"},
        {"sh run int l1\t", "sh run int l1 _"},
        {"sh run int e1/50,l\t", "sh run int e1/50,loopback_"},
        {"sh run int port-channel1-3,m\t", "sh run int port-channel1-3,mgmt_"},
        {"sh run exclude ospf osp\t", "sh run exclude ospf osp_"},
        {"sh run nosuch\t", "sh run nosuch_"},
    };
    Screen screen("--no-history");
    for (const auto &[typed, line] : kTyped) {
        screen.shell.type(std::string(kClear) + typed);
        EXPECT_EQ(screen.until(std::string("leaf-12# ") + line), std::string("leaf-12# ") + line) << typed;
    }
}

TEST_F(Editor, ListsWordsAtTheSecondTab) {
    Screen screen(kOneService);
    screen.shell.type("show st\tv\t\t");
    const std::string expected =
        "x# show startup-config v\n"
        "vlan     vsan     vdc-all\n"
        "x# show startup-config v_";
    EXPECT_EQ(screen.until(expected), expected);
}

TEST_F(Editor, ListsWhatMayComeNextAndLeavesTheLine) {
    Screen screen(kOneService);
    screen.shell.type(std::string("show running-config service?") + kLeft + kLeft + kLeft + "?");
    std::string expected =
        "x# show running-config service\n"
        "  service           one service\n"
        "x# show running-config service\n"
        "  service           one service\n"
        "x# show running-config serv_ice";
    EXPECT_EQ(screen.until(expected), expected);
    screen.shell.type("\x05 ?loud ?| inc ?a?");
    expected.replace(expected.find("serv_ice"), 8,
                     "service\n"
                     "  NAME              a service\n"
                     "    loud\n"
                     "x# show running-config service loud\n"
                     "  <cr>              run the command\n"
                     "  |                 filter the text\n"
                     "x# show running-config service loud | inc\n"
                     "  REGEX             a regular expression up to the next bar, or quoted\n"
                     "x# show running-config service loud | inc a?_");
    EXPECT_EQ(screen.until(expected), expected);
}

TEST_F(Editor, ClearsTheLineOnAnInterruptionAndEndsOnAFreshLine) {
    Screen screen(kOneService);
    screen.shell.type("show");
    ASSERT_EQ(screen.until("x# show_"), "x# show_");
    screen.shell.type(kInterrupt);
    ASSERT_EQ(screen.until("x# show^C\nx# _"), "x# show^C\nx# _");
    screen.shell.type("\x04");
    EXPECT_EQ(screen.until("x# show^C\nx#\n_"), "x# show^C\nx#\n_");
    EXPECT_EQ(screen.shell.status(), 0);
}

TEST_F(Editor, EndsAtAnEndThatWasTypedWhileACommandRan) {
    Screen screen(std::string(kSilentService) + " --timeout-unit 10");
    screen.shell.type("show run | count\n");
    ASSERT_TRUE(screen.shell.shows("waiting for")); // the terminal does not pass each key on meanwhile
    screen.shell.type("! later\n\x04");
    ASSERT_TRUE(screen.shell.shows("x# ! later"));
    EXPECT_EQ(screen.shell.status(), 3);
}

TEST_F(Editor, IgnoresOtherKeys) {
    constexpr char kNull[] = {'\0', 'b'};
    constexpr char kPageUp[] = "\x1b[5~", kF5[] = "\x1b[15~", kShiftUp[] = "\x1b[1;2A", kCommand[] = "\x1bx";
    Screen screen(kOneService);
    screen.shell.type("a" + std::string(kNull, sizeof kNull) + kPageUp + "c" + kF5 + "d" + kShiftUp + "e" + kCommand +
                      "f");
    EXPECT_EQ(screen.until("x# abcdef_"), "x# abcdef_");
}

TEST_F(Editor, RefusesALineThatCannotBeRun) {
    Screen screen(kOneService);
    screen.shell.type("\xff\xc3z\n");
    std::string expected =
        "x# \xef\xbf\xbd\xef\xbf\xbdz\n"
        "vsh: the line has control characters or bytes that are no UTF-8; it was not run\n"
        "x# _";
    EXPECT_EQ(screen.until(expected), expected);
    constexpr std::size_t kBlock = 1024, kLongestLine = 65536;
    for (std::size_t size = 0; size < kLongestLine; size += kBlock) {
        const std::size_t shown = screen.shell.out.size() + kBlock;
        screen.shell.type(std::string(kBlock, 'x'));
        while (screen.shell.out.size() < shown)
            ASSERT_TRUE(screen.shell.read_more());
    }
    screen.shell.type("xx\n");
    ASSERT_TRUE(screen.shell.shows("vsh: the line has more than 65536 bytes; it was not run\r\n"));
    screen.shell.type("quit\n");
    EXPECT_EQ(screen.shell.status(), 2);
}

TEST_F(Editor, RecallsLinesOfEarlierSessions) {
    Screen one(kOneService), other(kOneService);
    one.shell.type("! one\n");
    ASSERT_EQ(one.until("x# ! one\nx# _"), "x# ! one\nx# _");
    other.shell.type("! other\n");
    ASSERT_EQ(other.until("x# ! other\nx# _"), "x# ! other\nx# _");
    other.shell.type("! other\n");
    ASSERT_EQ(other.until("x# ! other\nx# ! other\nx# _"), "x# ! other\nx# ! other\nx# _");
    one.shell.signal(SIGKILL);

    Screen later(kOneService);
    later.shell.type(std::string(kUp) + kUp);
    EXPECT_EQ(later.until("x# ! one_"), "x# ! one_");
    later.shell.type(kInterrupt);
    ASSERT_EQ(later.until("x# ! one^C\nx# _"), "x# ! one^C\nx# _");
    later.shell.type(std::string(kSearch) + "one" + kLeft + "\x05");
    EXPECT_EQ(later.until("x# ! one^C\nx# ! one_"), "x# ! one^C\nx# ! one_");
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(folder_ / "vsh").permissions(), fs::perms(0700));

    Screen without(std::string(kOneService) + " --no-history");
    without.shell.type(std::string(kUp) + "!\n");
    EXPECT_EQ(without.until("x# !\nx# _"), "x# !\nx# _");
    EXPECT_EQ(history(), "! one\n! other\n");
}

TEST_F(Editor, BoundsTheHistory) {
    fs::create_directories(folder_ / "vsh");
    for (int number = 0; number < 1200; ++number)
        std::ofstream(file(), std::ios::app) << "! " << number << '\n';
    Screen screen(kOneService);
    ASSERT_EQ(screen.until("x# _"), "x# _");
    const std::string kept = history();
    EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), 1000);
    EXPECT_TRUE(kept.starts_with("! 200\n")) << kept;

    constexpr int kFirstAfter = 1200, kPasted = 150;
    std::string pasted;
    for (int number = kFirstAfter; number < kFirstAfter + kPasted; ++number)
        pasted += "! " + std::to_string(number) + '\r';
    screen.shell.type("\x1b[200~" + pasted + "quit\r\x1b[201~");
    EXPECT_EQ(screen.shell.status(), 0);
    const std::string later = history();
    EXPECT_LE(std::count(later.begin(), later.end(), '\n'), 1100);
    EXPECT_TRUE(later.ends_with("! 1349\nquit\n")) << later;
}

TEST_F(Editor, MentionsOnceThatNoHistoryIsKept) {
    fs::create_directories(file());
    Screen screen(kOneService);
    const std::string reason = "vsh: no history is kept: " + file().string() + ": Is a directory";
    screen.shell.type("! one\n");
    ASSERT_EQ(screen.until(reason + "\nx# ! one\nx# _"), reason + "\nx# ! one\nx# _");
    screen.shell.type(kUp);
    EXPECT_EQ(screen.until(reason + "\nx# ! one\nx# ! one_"), reason + "\nx# ! one\nx# ! one_");
}

TEST_F(Editor, NamesTheServicesThatACommandWaitsFor) {
    Screen screen(kSilentService);
    screen.shell.type("show running-config\n");
    const std::string waiting =
        "x# show running-config\n"
        "1 of 2 services have answered; waiting for mute; N s left_";
    ASSERT_EQ(screen.until(waiting), waiting);
    screen.shell.type(kInterrupt);
    const std::string interrupted =
        "x# show running-config\n"
        "vsh: command interrupted\n"
        "x# _";
    EXPECT_EQ(screen.until(interrupted), interrupted);
}

// The terminal would echo the second line while the first one runs.
TEST_F(Editor, ShowsPastedLinesOnce) {
    Screen screen(std::string(kSilentService) + " --timeout-unit 10");
    screen.shell.type("\x1b[200~show run | count\r! a\tb?\rsho\x1b[201~w");
    const std::string expected =
        "x# show run | count\n"
        "11\n"
        "vsh: incomplete: mute (SAP 7): sent no complete reply in time\n"
        "x# ! a b?\n"
        "x# show_";
    EXPECT_EQ(screen.until(expected), expected);
}

TEST_F(Editor, DropsPastedLinesAfterAnInterruption) {
    Screen screen(kSilentService);
    screen.shell.type("\x1b[200~show run\r! later\r\x1b[201~");
    ASSERT_TRUE(screen.shell.shows("waiting for"));
    screen.shell.type(kInterrupt);
    const std::string expected = "x# show run\nvsh: command interrupted\nx# _";
    EXPECT_EQ(screen.until(expected), expected);
    screen.shell.type("!");
    EXPECT_EQ(screen.until("x# show run\nvsh: command interrupted\nx# !_"),
              "x# show run\nvsh: command interrupted\nx# !_");
}

TEST_F(Editor, MakesControlCharactersOfNamesVisible) {
    const fs::path description = folder_ / "controls.yaml";
    std::ofstream(description) << "name: \"x\\u009b\\e\"\nversion: '1'\nservices:\n"
                                  "  - {name: \"a\\u202eb\", sap: 5, uuid: 6, elements: []}\n";
    Screen screen("--no-warnings -s " + description.string());
    screen.shell.type("show run serv \t\tz\n");
    const std::string expected =
        "x\\x9b^[# show run serv\n"
        "a\\u202eb\n"
        "x\\x9b^[# show run serv z\n"
        "vsh: unknown service \"z\"\n"
        "  show run serv z\n"
        "                ^\n"
        "  expected: a\\u202eb\n"
        "x\\x9b^[# _";
    EXPECT_EQ(screen.until(expected), expected);
}

TEST_F(Editor, ErasesTheWaitingLineBeforeTheText) {
    Screen screen(std::string(kSilentService) + " --timeout-unit 10");
    screen.shell.type("show running-config\n");
    const std::string expected =
        "x# show running-config\n"
        "The following SAPs did not respond within the expected timeframe\n"
        "Pending SAPS:7\n"
        "Printing Ascii configuration for remaining SAPs\n"
        "\n"
        "!Command: show running-config\n"
        "!Time: TIME\n"
        "\n"
        "version 1\n"
        "loud\n"
        "\n"
        "\n"
        "vsh: incomplete: mute (SAP 7): sent no complete reply in time\n"
        "x# _";
    EXPECT_EQ(screen.until(expected), expected);
    EXPECT_NE(screen.shell.out.find("1 of 2 services have answered; waiting for mute; "), std::string::npos);
}

} // namespace
