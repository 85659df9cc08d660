// The header above the configuration, and the listing of placeholders.
#include <filesystem>
#include <fstream>
#include <tuple>

#include "platform/cmdshell.h"
#include "support/story.h"

namespace {

using test::kNowText;

constexpr uint32_t kRunning = QARN_SOURCE_RUNNING, kStartup = QARN_SOURCE_STARTUP;
constexpr uint32_t kSavedNow = QARN_OPTION_SAVED_NOW, kCheckpoint = QARN_OPTION_CHECKPOINT;

class Header : public test::Story {
  protected:
    ~Header() override {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    std::string show(uint32_t cfg_source) {
        watch([&] { qarn_time_print(&req, cfg_source, path.c_str()); });
        return text;
    }
    const std::string path = testing::TempDir() + "system.cfg." + std::to_string(getpid());
    const std::string time_line = std::string("!Time: ") + kNowText;
};

TEST_F(Header, NamesTheCommandAndTheTime) {
    const std::string running = "\n!Command: show running-config\n" + time_line,
                      checkpoint = "\n!Command: Checkpoint cmd vdc 2\n" + time_line,
                      startup = "\n!Command: show startup-config\n" + time_line, saved = "!Startup config saved at: ";
    const std::tuple<const char *, uint32_t, uint32_t, std::string> cases[] = {
        {"running", kRunning, 0, running},
        {"running as saved now", kRunning, kSavedNow, startup + saved + kNowText + "\n"},
        {"saved now before checkpoint", kRunning, kSavedNow | kCheckpoint, startup + saved + kNowText + "\n"},
        {"checkpoint", kRunning, kCheckpoint, checkpoint},
        {"startup", kStartup, kSavedNow, running + saved + "today\n"},
        {"startup checkpoint", kStartup, kCheckpoint, checkpoint + saved + "today\n"},
    };
    std::ofstream(path) << "!Startup config saved at: today\n";
    sw.vdc = 0x10002;
    for (const auto &[what, source, options, expected] : cases) {
        g_cli_generic_option = options;
        EXPECT_EQ(show(source), expected) << what;
        EXPECT_EQ(traces, "") << what;
    }
}

TEST_F(Header, CopiesWhenTheStartupConfigurationWasSaved) {
    const std::string line = "Startup config saved at";
    const std::tuple<const char *, std::string, std::string> cases[] = {
        {"first of two", "!Command: x\n!" + line + ": a\n!" + line + ": b\n", "!" + line + ": a\n"},
        {"leading blanks and tabs", " \t " + line + " \t\n", line + " \t\n"},
        {"no final newline", "x\n" + line, line + "\n"},
        {"no such line", "!Startup config\nsaved at\n", ""},
        {"an empty file", "", ""},
        {"the whole buffer is one line", std::string(4097 - line.size(), 'x') + line + "y\n",
         std::string(4097 - line.size(), 'x') + line + "\n"},
        {"a longer line is read in pieces", std::string(4097, 'x') + "  " + line + "\n", line + "\n"},
    };
    for (const auto &[what, file, shown] : cases) {
        std::ofstream(path) << file;
        EXPECT_EQ(show(kStartup), "\n!Command: show running-config\n" + time_line + shown) << what;
    }
    std::filesystem::remove(path);
    EXPECT_EQ(show(kStartup), "\n!Command: show running-config\n" + time_line);
    EXPECT_EQ(traces, "Error: opening file: " + path);
}

TEST_F(Header, NamesTheVersionWhenItIsKnown) {
    watch(qarn_version_print);
    EXPECT_EQ(text, "\nversion 4.2(7)\n");
    sw.version.reset();
    watch(qarn_version_print);
    EXPECT_EQ(text, "");
}

} // namespace
