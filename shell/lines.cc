#include "shell/lines.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "shell/message.h"
#include "sim/visible.h"

namespace shell {
namespace {

constexpr std::size_t kMostDropped = std::size_t{64} << 20; // of a line that may never end

std::string too_long() {
    return "a line of the commands has more than " + std::to_string(kLongestLine) + " bytes";
}

LineReader::Event refuse(const std::string &reason) {
    print_message("%s; it was not run", reason.c_str());
    return LineReader::Event::kRefused;
}

sigset_t interruption() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    return set;
}

} // namespace

Lines::Lines(int input) : input_(input), is_terminal_(isatty(input) != 0) {
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
    if (is_terminal_) write_messages(sim::visible(prompt) + "# ");
    for (;;) {
        if (take_interruption()) {
            read_ahead_.clear();
            at_ = dropped_ = 0;
            return Event::kInterruption;
        }
        if (const std::optional<Event> event = take_line(line)) return *event;
        if (has_ended_) return Event::kEnd;
        if (wait_for_input()) read_input();
    }
}

bool Lines::take_interruption() const {
    struct signalfd_siginfo info;
    return interruptions_ >= 0 && read(interruptions_, &info, sizeof info) == sizeof info;
}

// The last line may lack its newline. What is read of a line that is too long is dropped.
std::optional<Lines::Event> Lines::take_line(std::string &line) {
    const std::size_t end = read_ahead_.find('\n', at_), length = std::min(end, read_ahead_.size()) - at_;
    const bool is_whole = end != std::string::npos || (has_ended_ && length + dropped_ > 0);
    const bool is_too_long = length + dropped_ > kLongestLine;
    if (!is_whole && !is_too_long) return {};
    line = read_ahead_.substr(at_, is_too_long ? 0 : length);
    at_ = end == std::string::npos ? read_ahead_.size() : end + 1;
    dropped_ = is_whole ? 0 : dropped_ + length;
    if (dropped_ > kMostDropped) throw LineTooLong(too_long());
    if (!is_whole) return {};
    if (is_too_long) return refuse(too_long());
    // A NUL byte would end the name of a file.
    return line.find('\0') == std::string::npos ? Event::kLine : refuse("a line of the commands has a NUL byte");
}

// False when an interruption comes first.
bool Lines::wait_for_input() const {
    struct pollfd sources[] = {{input_, POLLIN, 0}, {interruptions_, POLLIN, 0}};
    return poll(sources, 2, -1) > 0 && sources[1].revents == 0;
}

void Lines::read_input() {
    char block[65536];
    const ssize_t got = read(input_, block, sizeof block);
    if (got < 0 && errno != EINTR && errno != EAGAIN)
        throw std::runtime_error(std::string("cannot read the commands: ") + std::strerror(errno));
    read_ahead_.erase(0, std::exchange(at_, 0));
    if (got > 0) read_ahead_.append(block, static_cast<std::size_t>(got));
    has_ended_ = got == 0;
}

} // namespace shell
