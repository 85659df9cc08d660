// What an entry point checks before it begins: that no other command runs in the process, and that the shell accepted
// this one.
#include "entry/turn.h"

#include <qarncli/status.h>

#include <atomic>
#include <cstdio>
#include <utility>

#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

std::atomic<bool> taken = false; // atomic, so that a second thread is refused too
TurnGivenAway *given_away = nullptr;

} // namespace

Turn::Turn() : is_mine_(!taken.exchange(true)) {
    if (is_mine_) {
        if (given_away != nullptr) given_away->put_outcome_aside();
        begin_outcome();
    } else {
        std::fputs("A configuration command is still running in this process; try again later\n", stderr);
    }
}

Turn::~Turn() {
    if (!is_mine_) return;
    conclude_outcome();
    taken = false;
}

TurnGivenAway::TurnGivenAway() : outer_(std::exchange(given_away, this)) {
    taken = false;
}

TurnGivenAway::~TurnGivenAway() {
    taken = true;
    given_away = outer_;
    if (outcome_) put_outcome_back(*outcome_);
}

void TurnGivenAway::put_outcome_aside() {
    if (!outcome_) outcome_ = take_outcome();
}

bool is_valid(const qarn_req &req) {
    if (req.valid == 1) return true;
    csm_qarn_sp_print("%s\n", syserr2str(QARN_STATUS_INVALID));
    note_refusal(QARN_OUTCOME_INVALID_REQUEST);
    return false;
}

} // namespace qarn
