// How the shell takes signals while a command runs.
#pragma once

#include <signal.h>

#include <chrono>
#include <optional>

namespace shell {

// During the life of a child all signals are held back: an interruption is for the child, and a signal that ends the
// shell must end the child first. A signal that the shell's caller ignores or blocks has no effect, as before.
class SignalsDuringChild {
  public:
    SignalsDuringChild();
    ~SignalsDuringChild();
    SignalsDuringChild(const SignalsDuringChild &) = delete;
    SignalsDuringChild &operator=(const SignalsDuringChild &) = delete;

    // The child takes all signals as the shell's caller wishes; a session blocks SIGINT only for itself.
    void restore_in_child() const;

    // Wait for one of the held signals and return it, or -1 at an interruption or after `limit`, if there is one.
    int wait(std::optional<std::chrono::nanoseconds> limit) const;

    static void wait_for_child(std::chrono::nanoseconds limit);

    // Let the held signal end the shell.
    [[noreturn]] void deliver(int signal) const;

  private:
    sigset_t held_ = {}, mask_before_ = {};
};

// While it lives, a SIGINT of this process waits.
class HeldInterruption {
  public:
    HeldInterruption();
    ~HeldInterruption();
    HeldInterruption(const HeldInterruption &) = delete;
    HeldInterruption &operator=(const HeldInterruption &) = delete;

    bool take() const; // whether one has come; it then has no effect

  private:
    sigset_t interruption_ = {}, mask_before_ = {};
};

} // namespace shell
