// The first test of most entry points.
#pragma once

#include <qarncli/request.h>
#include <qarncli/status.h>

#include "platform/csm.h"
#include "platform/sysmgr.h"

namespace qarn {

// Whether the shell accepted the command; if not, that has been printed.
inline bool is_valid(const qarn_req &req) {
    if (req.valid == 1) return true;
    csm_qarn_sp_print("%s\n", syserr2str(QARN_STATUS_INVALID));
    return false;
}

} // namespace qarn
