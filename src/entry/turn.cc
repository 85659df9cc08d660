// What an entry point checks before it begins: that no other command runs in the process, and that the shell accepted
// this one.
#include "entry/turn.h"

#include <qarncli/status.h>

#include <atomic>
#include <cstdio>

#include "platform/csm.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

std::atomic<bool> taken = false; // atomic, so that a second thread is refused too

} // namespace

Turn::Turn() : is_mine_(!taken.exchange(true)) {
    if (!is_mine_) std::fputs("A configuration command is still running in this process; try again later\n", stderr);
}

Turn::~Turn() {
    if (is_mine_) taken = false;
}

TurnGivenAway::TurnGivenAway() {
    taken = false;
}

TurnGivenAway::~TurnGivenAway() {
    taken = true;
}

bool is_valid(const qarn_req &req) {
    if (req.valid == 1) return true;
    csm_qarn_sp_print("%s\n", syserr2str(QARN_STATUS_INVALID));
    return false;
}

} // namespace qarn
