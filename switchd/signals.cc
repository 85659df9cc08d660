#include "switchd/signals.h"

#include <signal.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "nats/objects.h"

namespace switchd {
namespace {

bool is_ignored(int number) {
    struct sigaction action = {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t set_of_signals(Children children) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
        if (!is_ignored(number)) sigaddset(&set, number);
    if (children == Children::kIncluded) sigaddset(&set, SIGCHLD);
    return set;
}

} // namespace

void block_signals() {
    const sigset_t set = set_of_signals(Children::kIncluded);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signal(SIGCHLD, SIG_DFL);
    signal(SIGPIPE, SIG_IGN);
}

void throw_if_ended() {
    const sigset_t set = set_of_signals(Children::kIgnored);
    constexpr struct timespec kNoWait = {};
    if (sigtimedwait(&set, nullptr, &kNoWait) > 0) throw Ended();
}

Descriptor descriptor_of_signals(Children children) {
    const sigset_t set = set_of_signals(children);
    Descriptor signals(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (signals.get() < 0) throw nats::Error(std::string("no descriptor of signals: ") + std::strerror(errno));
    return signals;
}

} // namespace switchd
