#include "shell/signals.h"

#include <unistd.h>

namespace shell {
namespace {

bool is_ignored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

struct timespec timespec_of(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {seconds.count(), (time - seconds).count()};
}

} // namespace

SignalsDuringChild::SignalsDuringChild() {
    sigemptyset(&held_);
    sigaddset(&held_, SIGCHLD);
    sigprocmask(SIG_BLOCK, nullptr, &mask_before_);
    for (const int signal : {SIGHUP, SIGTERM})
        if (!is_ignored(signal) && sigismember(&mask_before_, signal) == 0) sigaddset(&held_, signal);
    if (!is_ignored(SIGINT)) sigaddset(&held_, SIGINT); // also where a session blocks it for itself
    sigprocmask(SIG_BLOCK, &held_, nullptr);
}

SignalsDuringChild::~SignalsDuringChild() {
    sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

void SignalsDuringChild::restore_in_child() const {
    sigset_t interruption;
    sigemptyset(&interruption);
    sigaddset(&interruption, SIGINT);
    sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
    sigprocmask(SIG_UNBLOCK, &interruption, nullptr);
}

int SignalsDuringChild::wait(std::optional<std::chrono::nanoseconds> limit) const {
    if (!limit) return sigwaitinfo(&held_, nullptr);
    const struct timespec time = timespec_of(*limit);
    return sigtimedwait(&held_, nullptr, &time);
}

void SignalsDuringChild::wait_for_child(std::chrono::nanoseconds limit) {
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    const struct timespec time = timespec_of(limit);
    sigtimedwait(&child, nullptr, &time);
}

void SignalsDuringChild::deliver(int signal) const {
    raise(signal);
    sigprocmask(SIG_UNBLOCK, &held_, nullptr);
    _exit(128 + signal);
}

HeldInterruption::HeldInterruption() {
    sigemptyset(&interruption_);
    sigaddset(&interruption_, SIGINT);
    sigprocmask(SIG_BLOCK, &interruption_, &mask_before_);
}

HeldInterruption::~HeldInterruption() {
    sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

bool HeldInterruption::take() const {
    const struct timespec at_once = {};
    return sigtimedwait(&interruption_, nullptr, &at_once) == SIGINT;
}

} // namespace shell
