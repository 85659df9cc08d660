// Which services a generation asks.
#pragma once

#include <qarncli/request.h>

#include <optional>

namespace qarn {

// The SAPs that consume the request opcode; the first 256 are written to `list`. Returns the number of all, or -1 after
// a message when the transport does not answer.
int32_t query_consumers(uint32_t handle, uint32_t *list);

// Store every consumer of the request opcode in saps and num_saps. False when the transport does not answer; num_saps
// then keeps its value, because a negative answer is not a length.
bool list_consumers(uint32_t handle);

// Enter feature mode when the request names a SAP or a table row, and list the services that it names. Returns what the
// request message carries as its target (0 for all services), none when the consumers cannot be listed.
std::optional<uint32_t> select_services(const qarn_req &req);

// Trace which services the command asks and which it excludes.
void trace_service_lists();

} // namespace qarn
