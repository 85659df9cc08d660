// A display command runs in a child process. The library keeps state from one command to the next and ends the process
// when it is interrupted; a child per command gives each command a fresh library and lets the shell survive. The
// child's last act is to write the entry point's status to a pipe, so that an empty pipe means an early end.
#include "shell/run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "shell/startup_display.h"

namespace shell {
namespace {

constexpr uint32_t kFirstShellSap = 1000;

uint32_t unused_sap(const sim::Switch &sw) {
    uint32_t sap = kFirstShellSap;
    while (std::any_of(sw.services.begin(), sw.services.end(),
                       [sap](const sim::Service &service) { return service.sap == sap; }))
        ++sap;
    return sap;
}

// Ignores SIGINT during its lifetime: an interruption is for the child, not for the shell that waits for it.
class InterruptsIgnored {
  public:
    InterruptsIgnored() {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGINT, &ignore, &before_);
    }
    ~InterruptsIgnored() { restore(); }
    InterruptsIgnored(const InterruptsIgnored &) = delete;
    InterruptsIgnored &operator=(const InterruptsIgnored &) = delete;
    void restore() { sigaction(SIGINT, &before_, nullptr); }

  private:
    struct sigaction before_ = {};
};

[[noreturn]] void run_in_child(sim::Switch &sw, EntryPoint entry, Request &request, int report) {
    request.req.mts_handle = sw.transport.open(unused_sap(sw));
    sim::set_shell_options(request.options);
    uint32_t status = status_of_display(request.req, entry(&request.req));
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vsh: cannot write: %s\n", std::strerror(errno));
        status = kExitFailure;
    }
    std::fflush(stderr);
    const ssize_t written = write(report, &status, sizeof status);
    _exit(written == sizeof status ? 0 : kExitFailure);
}

bool stdout_has_no_reader() {
    struct pollfd out = {STDOUT_FILENO, POLLOUT, 0};
    return poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0;
}

int explain_early_end(int wait_status) {
    if (WIFSIGNALED(wait_status)) {
        const int signal = WTERMSIG(wait_status);
        std::fprintf(stderr, "vsh: command interrupted by signal %d (%s)\n", signal, strsignal(signal));
        return 128 + signal;
    }
    if (stdout_has_no_reader()) return kExitBrokenPipe;
    std::fprintf(stderr, "vsh: command interrupted\n");
    return kExitInterrupted;
}

std::optional<int> wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return std::nullopt;
    return status;
}

int report_failure(const char *what) {
    std::fprintf(stderr, "vsh: %s: %s\n", what, std::strerror(errno));
    return kExitFailure;
}

} // namespace

int run_command(sim::Switch &sw, EntryPoint entry, Request &request) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return report_failure("pipe");
    std::fflush(stdout); // or the child would print what it inherits once more
    std::fflush(stderr);
    InterruptsIgnored ignored;
    const pid_t child = fork();
    if (child == 0) {
        ignored.restore();
        run_in_child(sw, entry, request, ends[1]);
    }
    int result = child < 0 ? report_failure("fork") : kExitFailure;
    close(ends[1]);
    if (const std::optional<int> wait_status = child < 0 ? std::nullopt : wait_for(child)) {
        uint32_t status = 0;
        const bool reported = read(ends[0], &status, sizeof status) == sizeof status;
        result = reported ? static_cast<int>(status) : explain_early_end(*wait_status);
    }
    close(ends[0]);
    return result;
}

} // namespace shell
