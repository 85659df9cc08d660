#include "shell/keyboard.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace shell {
namespace {

constexpr std::size_t kBlock = 65536;
constexpr char kEndOfInput = '\x04'; // Ctrl-D

bool is_ignored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// A signal that the shell's caller ignores or blocks has no effect, as without an editor.
sigset_t signals_to_take() {
    sigset_t set, blocked;
    sigemptyset(&set);
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (const int signal : {SIGINT, SIGTSTP, SIGCONT, SIGWINCH, SIGTERM, SIGHUP, SIGQUIT})
        if (!is_ignored(signal) && sigismember(&blocked, signal) == 0) sigaddset(&set, signal);
    return set;
}

sigset_t only(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

} // namespace

Keyboard::Keyboard() : taken_(signals_to_take()), signals_(signalfd(-1, &taken_, SFD_CLOEXEC | SFD_NONBLOCK)) {
    if (signals_ < 0) throw std::runtime_error(std::string("signalfd: ") + std::strerror(errno));
    const sigset_t interruption = only(SIGINT);
    if (sigismember(&taken_, SIGINT) != 0) sigprocmask(SIG_BLOCK, &interruption, nullptr);
}

Keyboard::~Keyboard() {
    const sigset_t interruption = only(SIGINT);
    if (sigismember(&taken_, SIGINT) != 0) sigprocmask(SIG_UNBLOCK, &interruption, nullptr);
    close(signals_);
}

Keyboard::Attention::Attention(const Keyboard &keyboard) {
    sigprocmask(SIG_BLOCK, &keyboard.taken_, &mask_before_);
}

Keyboard::Attention::~Attention() {
    sigprocmask(SIG_SETMASK, &mask_before_, nullptr);
}

void Keyboard::deliver(int signal) {
    const sigset_t set = only(signal);
    raise(signal);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

Keyboard::Event Keyboard::next() {
    for (;;) {
        if (at_ == input_.size()) {
            drop_input();
            if (wait() == Source::kSignal) return Event::kSignal;
            if (!read_input(1)) return Event::kEnd; // more would take from a program that the command starts
        } else if (take_signal()) {
            return Event::kSignal;
        }
        if (at_ == input_.size()) continue;
        is_pasted_ = at_ < pasted_end_;
        const std::optional<wchar_t> character = decode(input_[at_++]);
        if (!character || (*character == L'\0' && !is_pasted_)) continue; // Ctrl-@ is no key
        character_ = *character;
        return Event::kCharacter;
    }
}

bool Keyboard::skip_line() {
    for (;;) {
        const std::size_t end = input_.find_first_of("\r\n", at_);
        if (end != std::string::npos) {
            at_ = end + 1;
            return true;
        }
        drop_input();
        if (wait() == Source::kSignal) return false;
        if (!read_input(kBlock)) return true;
    }
}

Keyboard::Paste Keyboard::read_paste(const std::function<bool()> &take_signal) {
    constexpr std::string_view kEndOfPaste = "\x1b[201~";
    Paste paste = Paste::kWhole;
    input_.erase(0, std::exchange(at_, 0));
    pasted_end_ = 0;
    for (std::size_t searched = 0;;) {
        const std::size_t end = input_.find(kEndOfPaste, searched);
        if (end != std::string::npos) {
            input_.erase(end, kEndOfPaste.size());
            pasted_end_ = end;
            if (end > kMostPasted) paste = Paste::kTooLong;
            if (paste == Paste::kTooLong) at_ = end;
            return paste;
        }
        searched = input_.size() - std::min(input_.size(), kEndOfPaste.size() - 1);
        if (input_.size() > kMostPasted) {
            paste = Paste::kTooLong;
            input_.erase(0, std::exchange(searched, 0));
        }
        if (wait() == Source::kSignal ? !take_signal() : !read_input(kBlock)) return Paste::kEnd;
    }
}

void Keyboard::drop_input() {
    input_.clear();
    at_ = pasted_end_ = 0;
}

void Keyboard::note_typed_ahead() {
    int size = 0;
    typed_ahead_ = ioctl(STDIN_FILENO, FIONREAD, &size) == 0 ? static_cast<std::size_t>(size) : 0;
}

// Signals come first, or a flood of input would hold them up.
Keyboard::Source Keyboard::wait() {
    struct pollfd sources[] = {{signals_, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        if (poll(sources, 2, -1) < 0 && errno != EINTR) throw std::runtime_error(std::strerror(errno));
        if (take_signal()) return Source::kSignal;
        if (sources[1].revents != 0) return Source::kInput;
    }
}

bool Keyboard::take_signal() {
    struct signalfd_siginfo info;
    if (read(signals_, &info, sizeof info) != sizeof info) return false;
    signal_ = static_cast<int>(info.ssi_signo);
    if (signal_ == SIGINT) drop_input();
    return true;
}

bool Keyboard::read_input(std::size_t most) {
    char block[kBlock];
    const ssize_t got = read(STDIN_FILENO, block, std::min(most, sizeof block));
    if (got < 0 && errno != EINTR && errno != EAGAIN)
        throw std::runtime_error(std::string("cannot read standard input: ") + std::strerror(errno));
    if (got <= 0) return got != 0;
    const std::size_t size = static_cast<std::size_t>(got), ahead = std::min(size, typed_ahead_);
    std::replace(block, block + ahead, '\0', kEndOfInput);
    typed_ahead_ -= ahead;
    input_.append(block, size);
    return true;
}

// Nothing if a character has further bytes. A byte that cannot go on with a character begins the next one.
std::optional<wchar_t> Keyboard::decode(char byte) {
    const bool is_first = std::mbsinit(&state_) != 0;
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, &byte, 1, &state_);
    if (length == static_cast<std::size_t>(-2)) return {};
    if (length != static_cast<std::size_t>(-1)) return character;
    state_ = {};
    if (!is_first) --at_;
    return kNotUtf8;
}

} // namespace shell
