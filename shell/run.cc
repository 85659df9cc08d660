// A display command runs in a child process. The library keeps state from one command to the next and ends the process
// when it is interrupted; a child per command gives each command a fresh library and lets the shell survive. The
// child's last act is to write the exit code to a pipe, so that an empty pipe means an early end. The child
// never outlives its shell.
//
// A second child may pass the text on to its destination. It ends after the first one, which closes its output. If it
// ends before, nothing reads the text any more, and the command is ended.
#include "shell/run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
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

#include "shell/destination.h"
#include "shell/message.h"
#include "shell/report.h"
#include "shell/waiting.h"
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
    void restore_in_child() const {
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

// Where the process of a command writes besides standard output.
struct Descriptors {
    int report;        // the exit code
    int messages = -1; // what it reports after its text, instead of standard error
    int outcome = -1;  // as members of a JSON object
};

// Report the outcome, and write it to the descriptor `outcome`, if there is one.
int judge(const sim::Switch &sw, int outcome) {
    const Verdict verdict = verdict_on(sw);
    report(verdict);
    if (outcome < 0) return verdict.code;
    const bool is_written = dprintf(outcome, "%s", json_members(verdict).c_str()) >= 0;
    return is_written ? verdict.code : worse_of(verdict.code, kExitFailure);
}

// What was printed goes out before what is said of it. Where another process passes it on, the shell writes the
// messages when that process has ended.
int run_and_report(const sim::Switch &sw, EntryPoint entry, qarn_req &req, const Descriptors &to) {
    const uint32_t status = entry(&req);
    std::fflush(stdout);
    if (to.messages >= 0) dup2(to.messages, STDERR_FILENO);
    if (leaves_outcome(entry)) return judge(sw, to.outcome);
    return status == 0 ? kExitComplete : kExitFailure;
}

// An exception must not leave the child's part of the code, or the child would go on as a second shell.
int run_entry(const sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to) {
    try {
        return run_and_report(sw, entry, request.req, to);
    } catch (const std::bad_alloc &) {
        print_message("not enough memory for the command");
    } catch (const std::exception &error) {
        print_message("%s", error.what());
    }
    return kExitFailure;
}

[[noreturn]] void run_in_child(sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to,
                               const Deadline &deadline) {
    constexpr std::size_t kBlock = 65536; // fewer, larger blocks for the next process
    if (to.messages >= 0) std::setvbuf(stdout, nullptr, _IOFBF, kBlock);
    export_deadline(deadline);
    sw.transport.deadline = deadline;
    request.req.mts_handle = sw.transport.open(unused_sap(sw));
    sim::set_shell_options(request.options);
    int status = run_entry(sw, entry, request, to);
    if (!flush_output()) status = kExitFailure;
    std::fflush(stderr);
    const ssize_t written = write(to.report, &status, sizeof status);
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
        print_message("incomplete: the command was ended, because it went on after its deadline");
        return kExitIncomplete;
    }
    if (WIFSIGNALED(wait_status)) {
        const int signal = WTERMSIG(wait_status);
        print_message("command interrupted by signal %d (%s)", signal, strsignal(signal));
        return 128 + signal;
    }
    if (stdout_has_no_reader()) return kExitBrokenPipe;
    print_message("command interrupted");
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

int report_failure(const char *what) {
    print_message("%s: %s", what, std::strerror(errno));
    return kExitFailure;
}

// A child of the shell.
class Child {
  public:
    bool is_running() const { return pid_ >= 0 && !status_; }
    bool is_made() const { return pid_ >= 0; }
    // After its end.
    std::optional<int> status() const { return status_; }

    void send(int signal) const {
        if (is_running()) kill(pid_, signal);
    }
    void reap(int options = WNOHANG) {
        if (is_running()) status_ = shell::reap(pid_, options);
    }

    // End it. A child that saves the configuration removes what it has made before SIGTERM takes effect; SIGKILL ends
    // one that does not end by itself.
    void end() {
        send(SIGTERM);
        const auto limit = std::chrono::steady_clock::now() + kGrace;
        for (reap(); is_running(); reap()) {
            const auto left = limit - std::chrono::steady_clock::now();
            if (left <= std::chrono::nanoseconds(0)) break;
            SignalsDuringChild::wait_for_child(left);
        }
        send(SIGKILL);
        reap(0);
    }

    // Fork. The child runs `function`, which does not return.
    template <typename Function>
    void start(const SignalsDuringChild &signals, Function function) {
        const pid_t shell = getpid();
        pid_ = fork();
        if (pid_ < 0) report_failure("fork");
        if (pid_ != 0) return;
        sim::end_with_parent(shell);
        signals.restore_in_child();
        function();
        _exit(kExitFailure);
    }

  private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

// The processes of a command.
struct Job {
    explicit Job(bool pages) : has_pager(pages) {}

    Child command, output; // the output passes on the text of the command
    bool has_pager;

    bool is_running() const { return command.is_running() || output.is_running(); }
    void reap() {
        command.reap();
        output.reap();
    }
    void end() {
        command.end();
        output.end();
    }
};

// Wait for the children. If a signal ends the shell meanwhile, the children end first: whoever waits for the shell then
// finds the store unlocked. A deadline does not take a text away from a user who reads it in a pager.
void wait_for(Job &job, const SignalsDuringChild &signals, const Deadline &deadline) {
    for (job.reap(); job.is_running(); job.reap()) {
        if (job.output.status() && job.command.is_running()) return job.command.end();
        const bool has_limit = job.command.is_running() || !job.has_pager;
        const int signal = signals.wait(has_limit ? time_left(deadline) : std::nullopt);
        if (signal == SIGINT) { // which may have reached the shell alone
            job.command.send(SIGINT);
            job.output.send(SIGINT);
        } else if (signal > 0 && signal != SIGCHLD) {
            job.end();
            erase_waiting_line();
            signals.deliver(signal);
        } else if (has_limit && is_overdue(deadline)) {
            job.command.end();
            if (!job.has_pager) job.output.end();
        }
    }
}

bool was_interrupted(int wait_status) {
    return WIFSIGNALED(wait_status) && WTERMSIG(wait_status) == SIGINT;
}

// The exit code for a text that was not passed on as a whole, or none.
std::optional<int> result_of_output(const Job &job, std::optional<int> reported, const Deadline &deadline) {
    if (!job.output.status()) return {};
    const int status = *job.output.status();
    if (was_interrupted(status)) {
        print_message("command interrupted");
        return kExitInterrupted;
    }
    if (WIFSIGNALED(status)) return explain_early_end(status, deadline);
    if (WEXITSTATUS(status) == kPagerEnded) return reported.value_or(kExitComplete);
    if (WEXITSTATUS(status) != kExitComplete) return WEXITSTATUS(status);
    return {};
}

int result_of(const Job &job, std::optional<int> reported, const Deadline &deadline) {
    if (const std::optional<int> result = result_of_output(job, reported, deadline)) return *result;
    if (reported) return *reported;
    return job.command.status() ? explain_early_end(*job.command.status(), deadline) : kExitFailure;
}

// A pipe, or nothing after a message.
class Pipe {
  public:
    explicit Pipe(int flags = 0) {
        if (pipe2(ends_, O_CLOEXEC | flags) != 0) report_failure("pipe");
    }
    ~Pipe() { close_ends(); }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    explicit operator bool() const { return ends_[0] >= 0; }
    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }
    void close_end(int end) {
        if (ends_[end] >= 0) close(ends_[end]);
        ends_[end] = -1;
    }
    void close_ends() {
        close_end(0);
        close_end(1);
    }

  private:
    int ends_[2] = {-1, -1};
};

std::optional<int> report_in(const Pipe &pipe) {
    int status = 0;
    return read(pipe.reading(), &status, sizeof status) == sizeof status ? std::optional(status) : std::nullopt;
}

// Between the command and the process that passes its text on.
struct PassedText {
    Pipe text;
    int messages = memfd_create("messages", MFD_CLOEXEC); // what the command says after its text

    PassedText() {
        if (messages < 0) report_failure("memfd_create");
    }
    ~PassedText() {
        if (messages >= 0) close(messages);
    }
    PassedText(const PassedText &) = delete;
    PassedText &operator=(const PassedText &) = delete;

    bool is_usable() const { return text && messages >= 0; }
    void copy_messages() const {
        std::string lines;
        char block[4096];
        for (ssize_t got = pread(messages, block, sizeof block, 0); got > 0;
             got = pread(messages, block, sizeof block, static_cast<off_t>(lines.size())))
            lines.append(block, static_cast<std::size_t>(got));
        write_messages(lines);
    }
};

int pass_on_or_report(int text, const Output &output, int destination) {
    try {
        return pass_on(text, output, destination);
    } catch (const std::bad_alloc &) {
        print_message("not enough memory for the output");
    }
    return kExitFailure;
}

} // namespace

bool flush_output() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
    print_message("cannot write: %s", std::strerror(errno));
    return false;
}

int run_command(sim::Switch &sw, EntryPoint entry, Request &request, const Output &output, int destination,
                const Deadline &deadline) {
    const Pipe report(O_NONBLOCK);
    std::optional<PassedText> passed;
    if (output.has_work()) passed.emplace();
    if (!report || (passed && !passed->is_usable())) return kExitFailure;
    std::fflush(stdout); // or the children would print what they inherit once more
    std::fflush(stderr);
    const SignalsDuringChild signals;
    Job job(output.has_pager);
    if (passed) {
        job.output.start(signals, [&] {
            passed->text.close_end(1);
            _exit(pass_on_or_report(passed->text.reading(), output, destination));
        });
        if (!job.output.is_made()) return kExitFailure;
    }
    job.command.start(signals, [&] {
        const int text = passed ? passed->text.writing() : destination;
        if (text != STDOUT_FILENO && dup2(text, STDOUT_FILENO) < 0) _exit(report_failure("dup2"));
        if (passed) passed->text.close_ends();
        const Descriptors to = {report.writing(), passed ? passed->messages : -1, output.outcome};
        run_in_child(sw, entry, request, to, deadline);
    });
    if (passed) passed->text.close_ends();
    wait_for(job, signals, deadline);
    erase_waiting_line();
    if (passed) passed->copy_messages();
    return result_of(job, report_in(report), deadline);
}

int show_text(int text, const Output &output) {
    lseek(text, 0, SEEK_SET);
    const SignalsDuringChild signals;
    Job job(output.has_pager);
    job.output.start(signals, [&] { _exit(pass_on_or_report(text, output, STDOUT_FILENO)); });
    wait_for(job, signals, {});
    return result_of_output(job, kExitComplete, {}).value_or(kExitComplete);
}

} // namespace shell
