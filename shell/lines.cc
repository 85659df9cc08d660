#include "shell/lines.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace shell {
namespace {

sigset_t interruption() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    return set;
}

} // namespace

Lines::Lines(int input) : input_(input) {
    struct sigaction action = {};
    if (sigaction(SIGINT, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
    const sigset_t set = interruption();
    interruptions_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (interruptions_ >= 0) sigprocmask(SIG_BLOCK, &set, nullptr);
}

Lines::~Lines() {
    if (interruptions_ < 0) return;
    const sigset_t set = interruption();
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    close(interruptions_);
}

Lines::Event Lines::next(const std::string &prompt, std::string &line) {
    if (isatty(input_) != 0) std::fprintf(stderr, "%s# ", prompt.c_str());
    for (;;) {
        if (take_interruption()) {
            read_ahead_.clear();
            return Event::kInterruption;
        }
        if (take_line(line)) return Event::kLine;
        if (has_ended_) return Event::kEnd;
        if (wait_for_input()) read_input();
    }
}

bool Lines::take_interruption() const {
    struct signalfd_siginfo info;
    return interruptions_ >= 0 && read(interruptions_, &info, sizeof info) == sizeof info;
}

// The last line may lack its newline.
bool Lines::take_line(std::string &line) {
    const std::size_t length = read_ahead_.find('\n');
    if (length > kLongestLine && read_ahead_.size() > kLongestLine)
        throw LineTooLong("a line of the commands has more than " + std::to_string(kLongestLine) + " bytes");
    if (length == std::string::npos && (!has_ended_ || read_ahead_.empty())) return false;
    line = read_ahead_.substr(0, length);
    read_ahead_.erase(0, length == std::string::npos ? length : length + 1);
    return true;
}

// False when an interruption comes first.
bool Lines::wait_for_input() const {
    struct pollfd sources[] = {{input_, POLLIN, 0}, {interruptions_, POLLIN, 0}};
    return poll(sources, 2, -1) > 0 && sources[1].revents == 0;
}

void Lines::read_input() {
    char block[4096];
    const ssize_t got = read(input_, block, sizeof block);
    if (got < 0 && errno != EINTR && errno != EAGAIN)
        throw std::runtime_error(std::string("cannot read the commands: ") + std::strerror(errno));
    if (got > 0) read_ahead_.append(block, static_cast<std::size_t>(got));
    has_ended_ = got == 0;
}

} // namespace shell
