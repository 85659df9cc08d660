#include "shell/job.h"

#include <signal.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "shell/message.h"
#include "shell/waiting.h"

namespace shell {
namespace {

std::optional<int> status_of(pid_t child, int options) {
    int status = 0;
    pid_t ended = -1;
    do
        ended = waitpid(child, &status, options);
    while (ended < 0 && errno == EINTR);
    return ended == child ? std::optional(status) : std::nullopt;
}

} // namespace

int report_failure(const char *what) {
    print_message("%s: %s", what, std::strerror(errno));
    return kExitFailure;
}

void Child::send(int signal) const {
    if (is_running()) kill(pid_, signal);
}

void Child::reap(int options) {
    if (is_running()) status_ = status_of(pid_, options);
}

void Child::end() {
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

void Job::reap() {
    command.reap();
    output.reap();
}

void Job::end() {
    command.end();
    output.end();
}

void wait_for(Job &job, const SignalsDuringChild &signals, const Deadline &deadline) {
    bool is_interrupted = false;
    for (job.reap(); job.is_running(); job.reap()) {
        if (job.output.status() && job.command.is_running()) return job.command.end();
        const bool has_limit = job.command.is_running() || !job.has_pager;
        const int signal = signals.wait(has_limit ? time_left(deadline) : std::nullopt);
        if (signal == SIGINT && is_interrupted) { // a command may have outlived the first one
            job.command.end();
            job.output.send(SIGINT);
        } else if (signal == SIGINT) { // which may have reached the shell alone
            is_interrupted = true;
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

} // namespace shell
