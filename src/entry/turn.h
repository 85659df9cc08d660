// One command at a time: the globals belong to the command that runs.
#pragma once

#include <qarncli/request.h>

namespace qarn {

// The right of a command to run, held while this lives. An entry point that finds it taken returns 1 and does nothing
// else; standard error has the reason.
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

// Gives the turn away while this lives: another command may run to its end meanwhile.
class TurnGivenAway {
  public:
    TurnGivenAway();
    ~TurnGivenAway();
    TurnGivenAway(const TurnGivenAway &) = delete;
    TurnGivenAway &operator=(const TurnGivenAway &) = delete;
};

// Whether the shell accepted the command; if not, that has been printed.
bool is_valid(const qarn_req &req);

} // namespace qarn
