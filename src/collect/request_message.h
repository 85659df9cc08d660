// Building the one request message of a generation.
#pragma once

#include <qarncli/message.h>
#include <qarncli/request.h>

#include "base/owner.h"

namespace qarn {

struct RequestMessage {
    Malloced<qarn_cfg_req_msg> bytes; // null if memory ran out
    uint32_t size = 0;
};

// A zeroed message with room for the command's interfaces. The requester, the filters and the command are filled in.
// `target` is what the command selected, 0 for all services.
RequestMessage begin_request_message(qarn_req *req, uint32_t cfg_source, uint32_t target);

// Fill in the rest: interfaces, flags, port profile and the startup store's URI.
void complete_request_message(qarn_cfg_req_msg *msg, const qarn_req &req, const char *startup_uri);

} // namespace qarn
