// The state of one generation: what the driver's steps share, and how they end.
#pragma once

#include <qarncli/message.h>
#include <qarncli/request.h>

#include <optional>

#include "collect/request_message.h"
#include "startup/startup_store.h"

namespace qarn {

struct Generation {
    Generation(qarn_req *request, uint32_t source) : req(request), cfg_source(source), handle(request->mts_handle) {}

    qarn_req *req;
    uint32_t cfg_source; // QARN_SOURCE_RUNNING or QARN_SOURCE_STARTUP
    uint32_t handle;     // the shell's transport handle
    StartupStore store;
    uint32_t target = 0; // what the command selected, for the request message
    RequestMessage message;
    uint32_t recv_err = 0; // QARN_STATUS_FAILED when a service failed, could not be extracted or kept silent
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

// The result of a step: none to go on with the next step, or how to end.
using Step = std::optional<Ending>;
inline constexpr Step kGoOn = std::nullopt;

// Run a whole generation; returns 0 or a status of the platform's error space.
uint32_t generate(qarn_req *req, uint32_t cfg_source);

// Make fresh tables and lists, and list the services to ask.
Step set_up(Generation &generation);

// The output phase: everything after the replies are in, up to the final callback.
Step print_configuration(Generation &generation);

// Call the platform's final callback, for the displays that end with it; returns 0 or the callback's status. The
// generation's globals are no longer needed, so another command may run inside the callback.
uint32_t run_final_callback(const Generation &generation);

} // namespace qarn
