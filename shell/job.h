// The processes of a command.
#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "shell/deadline.h"
#include "shell/exit_code.h"
#include "shell/signals.h"
#include "sim/child.h"

namespace shell {

// Write a message with the reason in errno. Returns kExitFailure.
int report_failure(const char *what);

// A child of the shell, which never outlives it.
class Child {
  public:
    bool is_running() const { return pid_ >= 0 && !status_; }
    bool is_made() const { return pid_ >= 0; }
    // After its end, as waitpid reports it.
    std::optional<int> status() const { return status_; }

    void send(int signal) const;
    void reap(int options = WNOHANG);
    // End it. A child that saves the configuration removes what it has made before SIGTERM takes effect; SIGKILL ends
    // one that does not end by itself.
    void end();

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

struct Job {
    explicit Job(bool pages) : has_pager(pages) {}

    Child command, output; // the output passes on the text of the command
    bool has_pager;

    bool is_running() const { return command.is_running() || output.is_running(); }
    void reap();
    void end();
};

// Wait for the children. If a signal ends the shell meanwhile, the children end first: whoever waits for the shell then
// finds the store unlocked. A deadline does not take a text away from a user who reads it in a pager.
void wait_for(Job &job, const SignalsDuringChild &signals, const Deadline &deadline);

} // namespace shell
