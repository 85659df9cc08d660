// The answer of a service to a request for its configuration. A script replaces everything else; a request for the
// startup configuration is answered from the store, if the switch has one, and any other from the elements. The
// faults of the service then damage the reply and disturb its fragments.
#include "sim/reply.h"

#include <cstring>
#include <utility>

#include "sim/saved_config.h"
#include "sim/switch.h"

namespace sim {
namespace {

Bytes reply_of(const Service &service, const qarn_cfg_req_msg &request) {
    const bool is_saved = request.cfg_source == QARN_SOURCE_STARTUP && !current().store.empty();
    Bytes reply = service.script ? service.script(request)
                  : is_saved     ? answer_from_store(service, request)
                                 : answer_from_elements(service, request);
    if (service.status != 0 && reply.size() >= sizeof service.status)
        std::memcpy(reply.data(), &service.status, sizeof service.status);
    return reply;
}

std::deque<Message> fragments_of_reply(const Service &service, const qarn_cfg_req_msg &request) {
    const Faults &faults = service.faults;
    const std::size_t size = service.fragment_size != 0 ? service.fragment_size : current().transport.fragment_size;
    Bytes reply = reply_of(service, request);
    const auto total_len = static_cast<uint32_t>(reply.size());
    damage(faults, reply);
    return fragments(faults.wrong_sap.value_or(service.sap), reply, size, total_len);
}

Bytes bytes_of(const qarn_cfg_req_msg &request) {
    const std::size_t size = sizeof request + request.num_ifindex * sizeof request.ifindex_list[0];
    return {reinterpret_cast<const char *>(&request), size};
}

} // namespace

const qarn_cfg_req_msg *as_request(const void *payload, std::size_t length) {
    if (payload == nullptr || length < sizeof(qarn_cfg_req_msg)) return nullptr;
    const auto *request = static_cast<const qarn_cfg_req_msg *>(payload);
    const std::size_t named = (length - sizeof(qarn_cfg_req_msg)) / sizeof request->ifindex_list[0];
    return request->num_ifindex <= named ? request : nullptr;
}

std::deque<Message> fragments(uint32_t sap, const Bytes &reply, std::size_t size, std::optional<uint32_t> total_len) {
    std::deque<Message> messages;
    service::cut(reply, sap, size, total_len.value_or(static_cast<uint32_t>(reply.size())), [&](Bytes message) {
        messages.push_back({QARN_OPC_REPLY, std::move(message)});
        return true;
    });
    return messages;
}

std::deque<Message> answer(const Service &service, const qarn_cfg_req_msg &request) {
    const Faults &faults = service.faults;
    std::deque<Message> messages;
    if (!faults.late) {
        messages = fragments_of_reply(service, request);
    } else {
        const Bytes bytes = faults.late->replace(bytes_of(request));
        if (const auto *before = as_request(bytes.data(), bytes.size()))
            messages = fragments_of_reply(service, *before);
    }
    disturb(faults, current().transport.now, messages);
    return messages;
}

} // namespace sim
