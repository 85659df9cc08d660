// What several shells do with one store, and what a copy leaves in it when it is killed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

#include "live_shell.h"

namespace {

// Without the holder's process id and time.
std::string masked(std::string text) {
    const std::string begin = "pid ", last = " since 2026-01-01 00:00:00";
    const std::size_t from = text.find(begin), to = text.find(" since ");
    if (from == std::string::npos || to == std::string::npos) return text;
    return text.replace(from, to + last.size() - from, "pid PID since TIME");
}

TEST(ShellProcess, LocksTheStoreAgainstOthersUntilItsDeath) {
    std::string folder = testing::TempDir() + "vsh-XXXXXX";
    const std::string store = " --store " + std::string(mkdtemp(folder.data()));
    ASSERT_EQ(Shell(kLoud + store + kCopy).status(), 0);
    for (const int signal : {SIGTERM, SIGHUP, SIGKILL}) {
        Shell holder(kSilent + store + kShow);
        ASSERT_TRUE(holder.shows(kWaiting)) << holder.out;
        EXPECT_EQ(Shell(kLoud + store + kShow).status(), 0) << "displays share the lock";
        Shell writer(kLoud + store + kCopy);
        EXPECT_EQ(writer.status(), 1);
        EXPECT_EQ(masked(writer.out),
                  "vsh: startup configuration is locked by another process: pid PID since TIME: " VSH " -s " HERE
                  "/silent.yaml -d 0x40" +
                      store + " -c show startup-config\n");
        EXPECT_EQ(Shell(kLoud + store + " -c 'show running-config'").status(), 0) << "which takes no lock";
        holder.signal(signal);
        EXPECT_EQ(holder.status(), -signal);
        EXPECT_EQ(Shell(kLoud + store + kCopy).status(), 0);
    }

    const int writing = open((folder + "/lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(writing, LOCK_EX | LOCK_NB), 0); // a copy that has not written its line yet
    Shell reader(kLoud + store + kShow);
    EXPECT_EQ(reader.status(), 1);
    EXPECT_EQ(reader.out,
              "store: startup configuration is locked by another process\n"
              "startup configuration is locked by another process\n");
    close(writing);
    std::filesystem::remove_all(folder);
}

// The process of a shell's first command, traced from its start. It stops at the entry and the exit of each system
// call.
class TracedCommand {
  public:
    explicit TracedCommand(const std::string &arguments) : shell_(fork()) {
        if (shell_ == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            execl("/bin/sh", "sh", "-c", ("exec " VSH " " + arguments + " >/dev/null 2>&1").c_str(), nullptr);
            _exit(127);
        }
        int status = 0;
        waitpid(shell_, &status, 0); // at its first exec
        ptrace(PTRACE_SETOPTIONS, shell_, nullptr, PTRACE_O_TRACEFORK | PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        do {
            ptrace(PTRACE_CONT, shell_, nullptr, nullptr);
        } while (waitpid(shell_, &status, 0) == shell_ && WIFSTOPPED(status) &&
                 status >> 8 != (SIGTRAP | (PTRACE_EVENT_FORK << 8)));
        unsigned long command = 0;
        ptrace(PTRACE_GETEVENTMSG, shell_, nullptr, &command);
        command_ = static_cast<pid_t>(command);
        waitpid(command_, &status, __WALL);
        ptrace(PTRACE_DETACH, shell_, nullptr, nullptr);
    }
    ~TracedCommand() { wait_for_shell(); }
    TracedCommand(const TracedCommand &) = delete;
    TracedCommand &operator=(const TracedCommand &) = delete;

    // Go on to the entry of this system call, or to the next stop; false if the command ends before.
    bool reaches(unsigned long call) const {
        __ptrace_syscall_info info = {};
        while (reaches_next_stop()) {
            ptrace(PTRACE_GET_SYSCALL_INFO, command_, sizeof info, &info);
            if (info.op == PTRACE_SYSCALL_INFO_ENTRY && info.entry.nr == call) return true;
        }
        return false;
    }
    bool reaches_next_stop() const {
        int status = 0;
        ptrace(PTRACE_SYSCALL, command_, nullptr, nullptr);
        return waitpid(command_, &status, __WALL) == command_ && WIFSTOPPED(status);
    }
    void wait_for_shell() const { waitpid(shell_, nullptr, 0); }
    void end_with(int signal) const {
        if (signal == SIGKILL) kill(command_, SIGKILL);
        ptrace(PTRACE_DETACH, command_, nullptr, signal);
        waitpid(command_, nullptr, __WALL);
    }

  private:
    pid_t shell_, command_ = 0;
};

// A switch of 12 services with the same text.
std::string write_switch(const std::string &folder, const std::string &text) {
    std::ofstream file(folder + '/' + text + ".yaml");
    file << "name: x\nversion: '1'\nservices:\n";
    for (int sap = 11; sap <= 22; ++sap)
        file << "  - {name: s" << sap << ", sap: " << sap << ", uuid: " << sap
             << ", elements: [{id: 1, level: 1, text: \"" << text << "\\n\"}]}\n";
    return "-s " + folder + '/' + text + ".yaml --store " + folder + "/store";
}

std::ptrdiff_t count(const std::string &text, const std::string &word) {
    std::istringstream lines(text);
    return std::count(std::istream_iterator<std::string>(lines), {}, word);
}

std::set<std::string> names_in(const std::string &folder) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

// At every other moment by SIGKILL. By default at every 16th moment, and with KILL_STRIDE=1 at each.
TEST(ShellProcess, SavesTheOldOrTheNewConfigurationWhenACopyIsKilled) {
    std::string folder = testing::TempDir() + "vsh-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string before = write_switch(folder, "before"), after = write_switch(folder, "after");
    const char *const stride = std::getenv("KILL_STRIDE");
    constexpr int kSignals[] = {SIGKILL, SIGINT, SIGKILL, SIGTERM};
    int olds = 0, news = 0;
    for (int moment = 0;; moment += stride != nullptr ? std::atoi(stride) : 16) {
        ASSERT_EQ(Shell(before + kCopy).status(), 0);
        const TracedCommand copy(after + kCopy);
        ASSERT_TRUE(copy.reaches(SYS_flock));
        int stops = 0;
        while (stops < moment && copy.reaches_next_stop())
            ++stops;
        if (stops < moment) break;
        copy.end_with(kSignals[static_cast<std::size_t>(olds + news) % std::size(kSignals)]);
        copy.wait_for_shell();
        EXPECT_EQ(names_in(folder + "/store"), (std::set<std::string>{"lock", "startup-cfg"})) << moment;
        Shell shown(before + kShow);
        EXPECT_EQ(shown.status(), 0) << moment;
        const std::ptrdiff_t old_lines = count(shown.out, "before"), new_lines = count(shown.out, "after");
        EXPECT_TRUE(old_lines + new_lines == 12 && (old_lines == 0 || new_lines == 0)) << moment << shown.out;
        (new_lines == 0 ? olds : news) += 1;
    }
    EXPECT_GT(olds, 5);
    EXPECT_GT(news, 0);
    std::printf("%d killed copies: %d left the old configuration, %d the new one\n", olds + news, olds, news);
    std::filesystem::remove_all(folder);
}

} // namespace
