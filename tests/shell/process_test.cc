// What takes a shell that is still running: its command is interrupted, and others meet its lock on the store.
// Everything else that a user meets is a case for run-cases.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr char kLoud[] = "-s " HERE "/loud.yaml", kSilent[] = "-s " HERE "/silent.yaml -d 0x40",
               kDelayed[] = "-s " HERE "/delayed.yaml -d 0x40";
// The trace of the first reply of kSilent and kDelayed: the command now waits for the other service.
constexpr char kWaiting[] = "Sap ctr = 1\n";
constexpr char kShow[] = " -c 'show startup-config'", kCopy[] = " -c 'copy running-config startup-config'";

// A shell in a process group of its own. Arguments are words of sh, and its errors come with its output.
class Shell {
  public:
    explicit Shell(const std::string &arguments) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
        pid_ = fork();
        if (pid_ == 0) {
            setpgid(0, 0);
            dup2(ends[1], STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            execl("/bin/sh", "sh", "-c", ("exec " VSH " " + arguments).c_str(), nullptr);
            _exit(127);
        }
        close(ends[1]);
        output_ = ends[0];
    }
    ~Shell() { close(output_); }
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    // Read until the output holds `text`; false when it ends before.
    bool shows(const std::string &text) {
        char block[4096];
        while (out.find(text) == std::string::npos) {
            const ssize_t got = read(output_, block, sizeof block);
            if (got <= 0) return false;
            out.append(block, static_cast<std::size_t>(got));
        }
        return true;
    }

    // Read the rest of the output and wait for the end of the shell.
    int status() {
        shows(std::string(1, '\0')); // which no output holds
        int status = 0;
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    void signal_group(int number) const { kill(-pid_, number); }
    void wait_for_group() const {
        while (waitpid(-pid_, nullptr, 0) > 0) {
        }
    }

    std::string out;

  private:
    pid_t pid_;
    int output_;
};

TEST(ShellProcess, GoesOnAfterAnInterruptedCommand) {
    for (const char *arguments : {kSilent, kDelayed}) {
        Shell shell(std::string(arguments) + " <<.\nshow running-config\nshow running-config service loud\n.\n");
        ASSERT_TRUE(shell.shows(kWaiting)) << shell.out;
        shell.signal_group(SIGINT);
        ASSERT_TRUE(shell.shows("vsh: command interrupted\n")) << shell.out;
        EXPECT_EQ(shell.status(), 130);
        EXPECT_NE(shell.out.find("\nloud\n"), std::string::npos) << shell.out;
    }
}

TEST(ShellProcess, LocksTheStoreAgainstOthersUntilItsDeath) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), 0); // the holder's orphan is waited for here
    std::string folder = testing::TempDir() + "vsh-XXXXXX";
    const std::string store = " --store " + std::string(mkdtemp(folder.data()));
    ASSERT_EQ(Shell(kLoud + store + kCopy).status(), 0);
    Shell holder(kSilent + store + kShow);
    ASSERT_TRUE(holder.shows(kWaiting)) << holder.out;

    const std::string refusal = "startup configuration is locked by another process\n";
    Shell reader(kLoud + store + kShow), writer(kLoud + store + kCopy);
    EXPECT_EQ(reader.status(), 1);
    EXPECT_EQ(reader.out, refusal);
    EXPECT_EQ(writer.status(), 1);
    EXPECT_EQ(writer.out, "vsh: " + refusal);
    EXPECT_EQ(Shell(kLoud + store + " -c 'show running-config'").status(), 0) << "which takes no lock";

    holder.signal_group(SIGKILL);
    holder.wait_for_group();
    EXPECT_EQ(Shell(kLoud + store + kShow).status(), 0);
    std::filesystem::remove_all(folder);
}

} // namespace
