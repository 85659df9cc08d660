// A display command runs in a child process. The library keeps state from one command to the next and ends the process
// when it is interrupted; a child per command gives each command a fresh library and lets the shell survive. The
// child's last act is to write the exit code to a pipe, so that an empty pipe means an early end. The child
// never outlives its shell.
#include "shell/run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>

#include "sim/child.h"

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

bool is_ignored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

struct timespec timespec_of(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {seconds.count(), (time - seconds).count()};
}

// How the shell takes signals during the life of a child. All are held back: an interruption is for the child, and a
// signal that ends the shell must end the child first. A signal that the shell's caller ignores or blocks has no
// effect, as before.
class SignalsDuringChild {
  public:
    SignalsDuringChild() {
        sigemptyset(&held_);
        sigaddset(&held_, SIGCHLD);
        sigprocmask(SIG_BLOCK, nullptr, &mask_before_);
        for (const int signal : {SIGHUP, SIGTERM})
            if (!is_ignored(signal) && sigismember(&mask_before_, signal) == 0) sigaddset(&held_, signal);
        if (!is_ignored(SIGINT)) sigaddset(&held_, SIGINT); // also where a session blocks it for itself
        sigprocmask(SIG_BLOCK, &held_, nullptr);
    }
    ~SignalsDuringChild() { sigprocmask(SIG_SETMASK, &mask_before_, nullptr); }
    SignalsDuringChild(const SignalsDuringChild &) = delete;
    SignalsDuringChild &operator=(const SignalsDuringChild &) = delete;

    // The child takes all signals as the shell's caller wishes; a session blocks SIGINT only for itself.
    void restore_in_child() {
        sigset_t interruption;
        sigemptyset(&interruption);
        sigaddset(&interruption, SIGINT);
        sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
        sigprocmask(SIG_UNBLOCK, &interruption, nullptr);
    }

    // Wait for one of the held signals and return it, or -1 at an interruption or after `limit`, if there is one.
    int wait(std::optional<std::chrono::nanoseconds> limit) const {
        if (!limit) return sigwaitinfo(&held_, nullptr);
        const struct timespec time = timespec_of(*limit);
        return sigtimedwait(&held_, nullptr, &time);
    }

    static void wait_for_child(std::chrono::nanoseconds limit) {
        sigset_t child;
        sigemptyset(&child);
        sigaddset(&child, SIGCHLD);
        const struct timespec time = timespec_of(limit);
        sigtimedwait(&child, nullptr, &time);
    }

    // Let the held signal end the shell.
    [[noreturn]] void deliver(int signal) const {
        raise(signal);
        sigprocmask(SIG_UNBLOCK, &held_, nullptr);
        _exit(128 + signal);
    }

  private:
    sigset_t held_ = {}, mask_before_ = {};
};

// The list of modules asks no services and has no outcome; copying the configuration reports its outcome itself.
bool leaves_outcome(EntryPoint entry) {
    return entry != copy_running_to_startup && entry != qarn_startup_cfg_modlist_get;
}

// What was printed goes out before what is said of it.
int run_and_report(const sim::Switch &sw, EntryPoint entry, qarn_req &req) {
    const uint32_t status = entry(&req);
    std::fflush(stdout);
    if (leaves_outcome(entry)) return report_outcome(sw);
    return status == 0 ? kExitComplete : kExitFailure;
}

// An exception must not leave the child's part of the code, or the child would go on as a second shell.
int run_entry(const sim::Switch &sw, EntryPoint entry, Request &request) {
    try {
        return run_and_report(sw, entry, request.req);
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "vsh: not enough memory for the command\n");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vsh: %s\n", error.what());
    }
    return kExitFailure;
}

[[noreturn]] void run_in_child(sim::Switch &sw, EntryPoint entry, Request &request, int report,
                               const Deadline &deadline) {
    export_deadline(deadline);
    sw.transport.deadline = deadline;
    request.req.mts_handle = sw.transport.open(unused_sap(sw));
    sim::set_shell_options(request.options);
    int status = run_entry(sw, entry, request);
    if (!flush_output()) status = kExitFailure;
    std::fflush(stderr);
    const ssize_t written = write(report, &status, sizeof status);
    _exit(written == sizeof status ? 0 : kExitFailure);
}

// How long the shell waits for a child after the deadline, for its part of the output and its report.
constexpr std::chrono::seconds kGrace(2);

std::optional<std::chrono::nanoseconds> time_left(const Deadline &deadline) {
    if (!deadline) return {};
    return std::max(*deadline + kGrace - std::chrono::steady_clock::now(), std::chrono::nanoseconds(0));
}

bool is_overdue(const Deadline &deadline) {
    return deadline && time_left(deadline)->count() == 0;
}

bool stdout_has_no_reader() {
    struct pollfd out = {STDOUT_FILENO, POLLOUT, 0};
    return poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0;
}

int explain_early_end(int wait_status, const Deadline &deadline) {
    if (is_overdue(deadline) && WIFSIGNALED(wait_status)) {
        std::fprintf(stderr, "vsh: incomplete: the command was ended, because it went on after its deadline\n");
        return kExitIncomplete;
    }
    if (WIFSIGNALED(wait_status)) {
        const int signal = WTERMSIG(wait_status);
        std::fprintf(stderr, "vsh: command interrupted by signal %d (%s)\n", signal, strsignal(signal));
        return 128 + signal;
    }
    if (stdout_has_no_reader()) return kExitBrokenPipe;
    std::fprintf(stderr, "vsh: command interrupted\n");
    return kExitInterrupted;
}

std::optional<int> reap(pid_t child, int options) {
    int status = 0;
    pid_t ended = -1;
    do
        ended = waitpid(child, &status, options);
    while (ended < 0 && errno == EINTR);
    return ended == child ? std::optional(status) : std::nullopt;
}

// End the child. A child that saves the configuration removes what it has made before SIGTERM takes effect; SIGKILL
// ends one that does not end by itself.
std::optional<int> end(pid_t child) {
    kill(child, SIGTERM);
    const auto limit = std::chrono::steady_clock::now() + kGrace;
    for (;;) {
        if (const std::optional<int> status = reap(child, WNOHANG)) return status;
        const auto left = limit - std::chrono::steady_clock::now();
        if (left <= std::chrono::nanoseconds(0)) break;
        SignalsDuringChild::wait_for_child(left);
    }
    kill(child, SIGKILL);
    return reap(child, 0);
}

// Wait for the child. If a signal ends the shell meanwhile, the child ends first: whoever waits for the shell then
// finds the store unlocked.
std::optional<int> wait_for(pid_t child, const SignalsDuringChild &signals, const Deadline &deadline) {
    for (;;) {
        if (const std::optional<int> status = reap(child, WNOHANG)) return status;
        const int signal = signals.wait(time_left(deadline));
        if (signal == SIGINT) { // which may have reached the shell alone
            kill(child, SIGINT);
            continue;
        }
        const bool is_to_end = is_overdue(deadline) || (signal > 0 && signal != SIGCHLD);
        if (!is_to_end) continue;
        const std::optional<int> status = end(child);
        if (signal < 0 || signal == SIGCHLD) return status;
        signals.deliver(signal);
    }
}

int report_failure(const char *what) {
    std::fprintf(stderr, "vsh: %s: %s\n", what, std::strerror(errno));
    return kExitFailure;
}

} // namespace

bool flush_output() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
    std::fprintf(stderr, "vsh: cannot write: %s\n", std::strerror(errno));
    return false;
}

int run_command(sim::Switch &sw, EntryPoint entry, Request &request, int output, const Deadline &deadline) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return report_failure("pipe");
    std::fflush(stdout); // or the child would print what it inherits once more
    std::fflush(stderr);
    SignalsDuringChild signals;
    const pid_t shell = getpid();
    const pid_t child = fork();
    if (child == 0) {
        sim::end_with_parent(shell);
        signals.restore_in_child();
        if (output != STDOUT_FILENO && dup2(output, STDOUT_FILENO) < 0) _exit(report_failure("dup2"));
        run_in_child(sw, entry, request, ends[1], deadline);
    }
    int result = child < 0 ? report_failure("fork") : kExitFailure;
    close(ends[1]);
    if (const std::optional<int> wait_status = child < 0 ? std::nullopt : wait_for(child, signals, deadline)) {
        int status = 0;
        const bool reported = read(ends[0], &status, sizeof status) == sizeof status;
        result = reported ? status : explain_early_end(*wait_status, deadline);
    }
    close(ends[0]);
    return result;
}

} // namespace shell
