// Services in a shared library. Rows of the callback table name the functions below; each answers for the service with
// the SAP of its row, in messages through the transport to the SAP of the requester. The program that loads this
// library holds the simulated switch and exports its symbols.
#include <algorithm>

#include "platform/cfglib.h"
#include "platform/mts.h"
#include "sim/reply.h"
#include "sim/switch.h"

namespace sim {
namespace {

constexpr uint32_t kNotAnswered = 0x40600101;

const Service *invoked_service() {
    const auto &services = current().services;
    const auto found = std::ranges::find(services, current().invoked_sap, &Service::sap);
    return found != services.end() ? &*found : nullptr;
}

uint32_t send_answer(const Service &service, const qarn_cfg_req_msg &request, uint32_t handle) {
    Transport &transport = current().transport;
    for (const Message &message : answer(service, request)) {
        if (message.due > transport.now) transport.wait(message.due - transport.now);
        if (message.due > transport.now) return kNotAnswered; // the command's deadline came first
        const auto length = static_cast<uint32_t>(message.payload.size());
        if (mts_send(handle, MTS_ADDRESS_LOCAL, request.src_sap, message.opcode, message.payload.data(), length, 0, 0,
                     0) != 0)
            return kNotAnswered;
    }
    return 0;
}

} // namespace

extern "C" {

// Answers as the service would on the transport; a slow service keeps its caller waiting.
void qarn_inprocess_answer(void *args, uint32_t *result) {
    const auto &arguments = *static_cast<const qarn_cb_args *>(args);
    const qarn_cfg_req_msg *request = request_in(arguments.msg);
    const Service *service = invoked_service();
    *result =
        request != nullptr && service != nullptr ? send_answer(*service, *request, arguments.mts_handle) : kNotAnswered;
}

// Always fails without an answer.
void qarn_inprocess_say_nothing(void *, uint32_t *result) {
    *result = kNotAnswered;
}

} // extern "C"

} // namespace sim
