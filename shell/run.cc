// A display command runs in a child process. The library keeps state from one command to the next and ends the process
// when it is interrupted; a child per command gives each command a fresh library and lets the shell survive. The
// child's last act is to write the exit code to a pipe, so that an empty pipe means an early end.
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

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>

#include "shell/destination.h"
#include "shell/entry_process.h"
#include "shell/job.h"
#include "shell/message.h"
#include "shell/waiting.h"

namespace shell {
namespace {

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

// Until the first text comes, or its end, an interruption is for the command alone.
void ignore_interruptions_before(int text) {
    const HeldInterruption held;
    struct pollfd begin = {text, POLLIN, 0};
    while (poll(&begin, 1, -1) < 0 && errno == EINTR) {
    }
    held.take();
}

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
            if (request.outlives_interruption) ignore_interruptions_before(passed->text.reading());
            _exit(pass_on_or_report(passed->text.reading(), output, destination));
        });
        if (!job.output.is_made()) return kExitFailure;
    }
    job.command.start(signals, [&] {
        const int text = passed ? passed->text.writing() : destination;
        if (text != STDOUT_FILENO && dup2(text, STDOUT_FILENO) < 0) _exit(report_failure("dup2"));
        if (passed) passed->text.close_ends();
        const Descriptors to = {report.writing(), passed ? passed->messages : -1, output.outcome};
        run_entry_process(sw, entry, request, to, deadline);
    });
    if (passed) passed->text.close_ends();
    wait_for(job, signals, deadline);
    erase_waiting_line();
    if (passed) passed->copy_messages();
    return result_of(job, report_in(report), deadline);
}

int show_text(int text, const Output &output, const Deadline &deadline) {
    lseek(text, 0, SEEK_SET);
    const SignalsDuringChild signals;
    Job job(output.has_pager);
    job.output.start(signals, [&] { _exit(pass_on_or_report(text, output, STDOUT_FILENO)); });
    wait_for(job, signals, deadline);
    return result_of_output(job, kExitComplete, deadline).value_or(kExitComplete);
}

} // namespace shell
