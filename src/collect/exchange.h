// Asking the services and receiving what they answer.
#pragma once

#include <qarncli/outcome.h>

#include "collect/reply_table.h"
#include "collect/request_message.h"

namespace qarn {

// Hand the request to the in-process services, then send it to every consumer or to each selected service. Returns 0,
// or the status of the first send that failed.
uint32_t ask_services(uint32_t handle, const RequestMessage &message);

// Decode a joined reply with status 0. Returns what became of it: answered, cut short, miscounted,
// broken or skipped.
using DecodeReply = qarn_outcome_service (*)(const JoinedReply &reply);

struct Collected {
    uint32_t broken = 0;  // status when the transport failed: nothing can be printed
    uint32_t missing = 0; // QARN_STATUS_FAILED when a service failed, could not be extracted or kept silent
};

// Receive until no reply is outstanding or the wait is over, and decode each complete reply.
Collected receive_replies(uint32_t handle, DecodeReply decode);

} // namespace qarn
