// This process keeps the end of the pipe from which the pager reads. If the program cannot be started, the text that
// the pipe holds is read back and shown without it.
#include "shell/pager.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shell/message.h"
#include "sim/child.h"

namespace shell {
namespace {

constexpr int kNotExecutable = 126, kNotFound = 127; // exit codes of a shell that cannot start a program

volatile sig_atomic_t running_pager = 0;

void pass_on(int signal) {
    if (running_pager > 0) kill(running_pager, signal);
}

// glibc's pidfd_open() cannot be called from C++ in every version.
int descriptor_of(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

void set_handler(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

} // namespace

Pager::~Pager() {
    for (const int descriptor : {read_end_, write_end_, end_})
        if (descriptor >= 0) close(descriptor);
}

bool Pager::start() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == 0) {
        read_end_ = ends[0];
        write_end_ = ends[1];
        fcntl(write_end_, F_SETFL, O_NONBLOCK);
        const pid_t parent = getpid();
        struct sigaction interruption;
        sigaction(SIGINT, nullptr, &interruption);
        set_handler(SIGINT, SIG_IGN);
        process_ = fork();
        if (process_ == 0) {
            sigaction(SIGINT, &interruption, nullptr);
            run(read_end_, parent);
        }
        end_ = process_ > 0 ? descriptor_of(process_) : -1;
    }
    if (end_ < 0) {
        print_message("cannot start the pager: %s", std::strerror(errno));
        if (process_ > 0) kill(process_, SIGKILL);
        return false;
    }
    running_pager = process_;
    set_handler(SIGTERM, pass_on);
    return true;
}

void Pager::run(int text, pid_t parent) const {
    sim::end_with_parent(parent);
    set_handler(SIGPIPE, SIG_DFL);
    dup2(text, STDIN_FILENO);
    if (const char *const program = std::getenv("PAGER")) {
        setenv("LESS", "FRX", 0); // so that it shows colors and leaves a short text
        execl("/bin/sh", "sh", "-c", program, "vsh: pager", nullptr);
    } else {
        unsetenv("LESS");
        execlp("less", "less", "-FRX", nullptr);
    }
    print_message("cannot start the pager: %s", std::strerror(errno));
    _exit(kNotFound);
}

std::size_t Pager::feed(std::string_view text) const {
    const ssize_t written = write(write_end_, text.data(), text.size());
    return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void Pager::end_text() {
    if (write_end_ >= 0) close(write_end_);
    write_end_ = -1;
}

void Pager::wait(int input, bool has_text) {
    // poll() skips what is negative.
    struct pollfd events[] = {{input, POLLIN, 0}, {has_text ? write_end_ : -1, POLLOUT, 0}, {end_, POLLIN, 0}};
    poll(events, 3, -1);
}

bool Pager::has_ended() {
    if (status_ >= 0) return true;
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) != process_) return false;
    running_pager = 0;
    status_ = status;
    return true;
}

bool Pager::has_failed() const {
    return WIFEXITED(status_) && (WEXITSTATUS(status_) == kNotExecutable || WEXITSTATUS(status_) == kNotFound);
}

bool Pager::was_killed() const {
    constexpr int kFirstOfSignal = 128; // the exit code of a shell whose program was killed
    return WIFSIGNALED(status_) || WEXITSTATUS(status_) > kFirstOfSignal;
}

std::string Pager::take_back() const {
    fcntl(read_end_, F_SETFL, O_NONBLOCK); // not before: the pager shared this descriptor
    std::string text;
    char block[4096];
    for (ssize_t got = read(read_end_, block, sizeof block); got > 0; got = read(read_end_, block, sizeof block))
        text.append(block, static_cast<std::size_t>(got));
    return text;
}

} // namespace shell
