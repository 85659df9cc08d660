// A shell that is still running while a test signals it or starts others beside it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <string>

constexpr char kLoud[] = "-s " HERE "/loud.yaml", kSilent[] = "-s " HERE "/silent.yaml -d 0x40",
               kDelayed[] = "-s " HERE "/delayed.yaml -d 0x40";
// The trace of the first reply of kSilent and kDelayed: the command now waits for the other service.
constexpr char kWaiting[] = "Sap ctr = 1\n";
constexpr char kShow[] = " -c 'show startup-config'", kCopy[] = " -c 'copy running-config startup-config'";

constexpr int kPatience = 30000; // milliseconds; a command that waits for kSilent takes 120 seconds

// A root folder for chroot often lacks them.
inline bool has_terminals() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal >= 0) close(terminal);
    return terminal >= 0;
}
#define SKIP_WITHOUT_TERMINALS() \
    if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminal can be opened; mount devpts at /dev/pts"

inline int connect_to_terminal(pid_t &pid) {
    int terminal = -1;
    pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    return terminal;
}

// A terminal on which lines are not edited.
inline int connect_to_dumb_terminal(pid_t &pid) {
    const int terminal = connect_to_terminal(pid);
    if (pid == 0) setenv("TERM", "dumb", 1);
    return terminal;
}

inline int connect_to_socket(pid_t &pid) {
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
        while (out.find(text) == std::string::npos)
            if (!read_more()) return false;
        return true;
    }

    // Wait for more output; false when it ends or nothing comes for too long.
    bool read_more() {
        char block[4096];
        struct pollfd output = {connection_, POLLIN, 0};
        if (poll(&output, 1, kPatience) != 1) return false;
        const ssize_t got = read(connection_, block, sizeof block);
        ended_ = got <= 0;
        if (!ended_) out.append(block, static_cast<std::size_t>(got));
        return !ended_;
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
