// What takes a shell that is still running: it or its command is interrupted or killed, and others meet its lock on the
// store.
// Everything else that a user meets is a case for run-cases.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
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

constexpr int kPatience = 30000; // milliseconds; a command that waits for kSilent takes 120 seconds

int connect_to_terminal(pid_t &pid) {
    int terminal = -1;
    pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    return terminal;
}

int connect_to_socket(pid_t &pid) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            dup2(ends[1], stream);
    }
    close(ends[1]);
    return ends[0];
}

// A shell in a process group of its own, on a socket or a terminal. Arguments are words of sh, and its errors come with
// its output.
class Shell {
  public:
    explicit Shell(const std::string &arguments, int (*connect)(pid_t &) = connect_to_socket)
        : connection_(connect(pid_)) {
        if (pid_ != 0) return;
        execl("/bin/sh", "sh", "-c", ("exec " VSH " " + arguments).c_str(), nullptr);
        _exit(127);
    }
    ~Shell() {
        if (!ended_) kill(-pid_, SIGKILL);
        close(connection_);
    }
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    // Read until the output holds `text`; false when it ends before or nothing comes for too long.
    bool shows(const std::string &text) {
        char block[4096];
        while (out.find(text) == std::string::npos) {
            struct pollfd output = {connection_, POLLIN, 0};
            if (poll(&output, 1, kPatience) != 1) return false;
            const ssize_t got = read(connection_, block, sizeof block);
            ended_ = got <= 0;
            if (ended_) return false;
            out.append(block, static_cast<std::size_t>(got));
        }
        return true;
    }

    void type(const std::string &text) const {
        if (write(connection_, text.data(), text.size()) < 0) std::abort();
    }

    // Read the rest of the output, which ends when the shell and its children have ended. Returns the status of the
    // shell, or the negative signal that ended it.
    int status() {
        shows(std::string(1, '\0')); // which no output holds
        if (!ended_) return -1000;
        int status = 0;
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    void signal(int number) const { kill(pid_, number); }
    void signal_group(int number) const { kill(-pid_, number); }

    std::string out;

  private:
    pid_t pid_ = -1;
    int connection_;
    bool ended_ = false; // of the output
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

TEST(ShellProcess, ClearsTheLineOnAnInterruptionAtThePrompt) {
    Shell shell(kLoud, connect_to_terminal);
    ASSERT_TRUE(shell.shows("x# ")) << shell.out;
    shell.type("nosuch\x03");
    ASSERT_TRUE(shell.shows("^C\r\nx# ")) << shell.out;
    shell.type("exit\n");
    EXPECT_EQ(shell.status(), 0) << shell.out;
}

TEST(ShellProcess, EndsAScriptOnAnInterruptionBetweenCommands) {
    Shell shell(kLoud);
    shell.type("nosuch\n");
    ASSERT_TRUE(shell.shows("end the session\n")) << shell.out;
    shell.signal(SIGINT);
    EXPECT_EQ(shell.status(), 130);
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

TEST(ShellProcess, LocksTheStoreAgainstOthersUntilItsDeath) {
    std::string folder = testing::TempDir() + "vsh-XXXXXX";
    const std::string store = " --store " + std::string(mkdtemp(folder.data()));
    ASSERT_EQ(Shell(kLoud + store + kCopy).status(), 0);
    const std::string refusal = "startup configuration is locked by another process\n";
    for (const int signal : {SIGTERM, SIGHUP}) {
        Shell holder(kSilent + store + kShow);
        ASSERT_TRUE(holder.shows(kWaiting)) << holder.out;
        Shell reader(kLoud + store + kShow), writer(kLoud + store + kCopy);
        EXPECT_EQ(reader.status(), 1);
        EXPECT_EQ(reader.out, refusal);
        EXPECT_EQ(writer.status(), 1);
        EXPECT_EQ(writer.out, "vsh: " + refusal);
        EXPECT_EQ(Shell(kLoud + store + " -c 'show running-config'").status(), 0) << "which takes no lock";
        holder.signal(signal);
        EXPECT_EQ(holder.status(), -signal);
        EXPECT_EQ(Shell(kLoud + store + kShow).status(), 0);
    }
    std::filesystem::remove_all(folder);
}

} // namespace
