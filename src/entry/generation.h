// One generation under way: what the driver's steps share, and how they end.
#pragma once

#include <qarncli/message.h>
#include <qarncli/request.h>

#include <optional>

#include "base/owner.h"
#include "collect/request_message.h"

namespace qarn {

struct Generation {
    Generation(qarn_req *request, uint32_t source) : req(request), cfg_source(source), handle(request->mts_handle) {}

    qarn_req *req;
    uint32_t cfg_source;         // QARN_SOURCE_RUNNING or QARN_SOURCE_STARTUP
    uint32_t handle;             // the shell's transport handle
    char startup_path[256] = {}; // of the ASCII startup file; empty in running displays
    uint32_t target = 0;         // what the command selected, for the request message
    Malloced<char> uri;          // base URI of the startup store, when the store named one
    RequestMessage message;
    uint32_t recv_err = 0; // a service failed, could not be extracted or kept silent
};

// How a generation ends before its last step: at once with a status, or through the common exit, which prints the
// closing newline.
struct Ending {
    bool at_once;
    uint32_t status;
};
constexpr Ending end_at_once(uint32_t status) {
    return {true, status};
}
constexpr Ending common_exit(uint32_t result) {
    return {false, result};
}

// What a step says: go on with the next one, or end.
using Step = std::optional<Ending>;
inline constexpr Step kGoOn = std::nullopt;

// Release the startup store if it is held.
void release_startup_store(const Generation &generation);

// The output phase: everything after the replies are in.
Ending print_configuration(Generation &generation);

} // namespace qarn
