// One command at a time: the globals belong to the command that runs.
#pragma once

#include <qarncli/request.h>

#include <optional>

#include "outcome/outcome.h"

namespace qarn {

// The right of a command to run, held while this lives. An entry point that finds it taken writes the reason to
// standard error, does nothing else and returns 1.
class Turn {
  public:
    Turn();
    ~Turn();
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

    bool is_mine() const { return is_mine_; }

  private:
    bool is_mine_;
};

// Gives the turn away while this lives, so that another command may run to its end.
class TurnGivenAway {
  public:
    TurnGivenAway();
    ~TurnGivenAway();
    TurnGivenAway(const TurnGivenAway &) = delete;
    TurnGivenAway &operator=(const TurnGivenAway &) = delete;

  private:
    friend Turn;
    void put_outcome_aside();

    TurnGivenAway *const outer_;           // that gave the turn to the command that gives it away now
    std::optional<OutcomeRecord> outcome_; // of the command that gave the turn away, once another command has begun
};

// Whether the shell accepted the command; if not, that has been printed.
bool is_valid(const qarn_req &req);

} // namespace qarn
