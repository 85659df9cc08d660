// The answer of a service to a request for its configuration. A script replaces everything else; a request for the
// startup configuration is answered from the store, if the switch has one, and any other from the elements.
#include "sim/reply.h"

#include <algorithm>
#include <cstring>

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

} // namespace

Bytes fragment(uint32_t sap, bool last, uint32_t total_len, const Bytes &data) {
    const uint32_t header[] = {last, total_len, sap, static_cast<uint32_t>(data.size())};
    static_assert(sizeof header == sizeof(qarn_cfg_frag));
    Bytes bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), header, sizeof header);
    return bytes + data;
}

std::deque<Message> fragments(uint32_t sap, const Bytes &reply, std::size_t size, std::optional<uint32_t> total_len) {
    const uint32_t total = total_len.value_or(static_cast<uint32_t>(reply.size()));
    if (size == 0) size = reply.size();
    std::deque<Message> messages;
    std::size_t at = 0;
    do {
        const std::size_t end = at + std::min(size, reply.size() - at);
        messages.push_back({QARN_OPC_REPLY, fragment(sap, end == reply.size(), total, reply.substr(at, end - at))});
        at = end;
    } while (at < reply.size());
    return messages;
}

std::deque<Message> answer(const Service &service, const qarn_cfg_req_msg &request) {
    const std::size_t size = service.fragment_size != 0 ? service.fragment_size : current().transport.fragment_size;
    return fragments(service.sap, reply_of(service, request), size);
}

} // namespace sim
