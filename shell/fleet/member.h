// One switch of a fleet, and the process that shows it.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "shell/held_output.h"
#include "shell/job.h"
#include "shell/session.h"
#include "transport/presence.h"

namespace shell {

// Ordered by name.
std::vector<KnownSwitch> members_of(const transport::Registrations &registrations);

// What became of a switch.
struct Collected {
    enum class State : uint8_t { kComplete, kIncomplete, kFailed };
    State state = State::kFailed;
    std::vector<std::string> remarks = {}; // what is missing, or the reason of the failure
    uint64_t bytes = 0;                    // of its file; 0 if that was not replaced
    uint64_t milliseconds = 0;
    std::string messages = {}; // lines, for standard error
};

// Shows one switch in a process of its own.
class Collection {
  public:
    // Runs the command of the options. A session of the parent has the description of all switches.
    Collection(const Options &options, Session *session, const KnownSwitch &member, const SignalsDuringChild &signals);

    // Whether the process has ended.
    bool has_ended();
    // Let it give up. What it has made without a name in the folder goes away.
    void interrupt() const { process_.send(SIGINT); }
    void end() { process_.end(); }
    // After the end of the process.
    Collected result(const std::string &path) const;

  private:
    HeldOutput record_{{}}, errors_{{}};
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    Child process_;
};

} // namespace shell
