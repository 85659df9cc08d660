// A request for the configuration, the answer of a service to it, and the fragments that carry the answer.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "service/cut.h"
#include "sim/mts.h"
#include "sim/service.h"

namespace sim {

// The request in these bytes, which must be aligned as one; null when it is not complete.
const qarn_cfg_req_msg *as_request(const void *payload, std::size_t length);

using service::fragment;

// Cut a reply into messages of at most `size` bytes of data each; size 0 makes a single message. Their total_len is the
// size of the reply, unless `total_len` gives another.
std::deque<Message> fragments(uint32_t sap, const Bytes &reply, std::size_t size,
                              std::optional<uint32_t> total_len = {});

// The whole answer of a service, with its failure status and its faults: from its script, from the store or from its
// elements. A late service has no answer to its first request.
std::deque<Message> answer(const Service &service, const qarn_cfg_req_msg &request);

} // namespace sim
