// Services that live in a shared library. The functions below are named in rows of the callback table; each answers for
// the service whose SAP its row names, with messages through the transport to the SAP that asks. The simulated switch
// is in the program that loads this library, which exports it.
#include <algorithm>

#include "platform/cfglib.h"
#include "platform/mts.h"
#include "sim/switch.h"

namespace {

constexpr uint32_t kNotAnswered = 0x40600101;

const sim::Service *invoked_service() {
    const auto &services = sim::current().services;
    const auto found = std::ranges::find(services, sim::current().invoked_sap, &sim::Service::sap);
    return found != services.end() ? &*found : nullptr;
}

uint32_t answer(const sim::Service &service, const qarn_cfg_req_msg &request, uint32_t handle) {
    const std::size_t size =
        service.fragment_size != 0 ? service.fragment_size : sim::current().transport.fragment_size;
    for (const sim::Message &message : sim::fragments(service.sap, sim::reply_of(service, request), size)) {
        const auto length = static_cast<uint32_t>(message.payload.size());
        if (mts_send(handle, MTS_ADDRESS_LOCAL, request.src_sap, message.opcode, message.payload.data(), length, 0, 0,
                     0) != 0)
            return kNotAnswered;
    }
    return 0;
}

} // namespace

extern "C" {

// Answers as the service would on the transport.
void qarn_inprocess_answer(void *args, uint32_t *result) {
    const auto &arguments = *static_cast<const qarn_cb_args *>(args);
    const qarn_cfg_req_msg *request = sim::request_in(arguments.msg);
    const sim::Service *service = invoked_service();
    *result =
        request != nullptr && service != nullptr ? answer(*service, *request, arguments.mts_handle) : kNotAnswered;
}

// A service that has come to nothing.
void qarn_inprocess_say_nothing(void *, uint32_t *result) {
    *result = kNotAnswered;
}

} // extern "C"
