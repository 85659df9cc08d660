#include <qarnservice/fragments.h>

#include <qarncli/message.h>
#include <qarnservice/reply.h>

#include <string>
#include <string_view>

#include "service/border.h"
#include "service/cut.h"

namespace {

using service::at_border;
using service::Bytes;
using service::cut;
using service::Refusal;
using service::Stopped;

static_assert(QARN_SERVICE_FRAGMENT_HEADER == sizeof(qarn_cfg_frag));

constexpr uint32_t kLowestSap = 2, kHighestSap = 0xfffffffe; // the others have meanings in a request

void check(std::size_t reply_size, uint32_t sap, std::size_t max_data) {
    if (sap < kLowestSap || sap > kHighestSap)
        throw Refusal("SAP " + std::to_string(sap) + " is not between 2 and 4294967294");
    if (max_data == 0) throw Refusal("a fragment needs room for at least 1 byte of data");
    if (reply_size < sizeof(qarn_cfg_reply))
        throw Refusal("a reply of " + std::to_string(reply_size) + " bytes has no status");
    if (reply_size > QARN_SERVICE_MAX_REPLY)
        throw Refusal("a reply has at most " + std::to_string(QARN_SERVICE_MAX_REPLY) + " bytes");
}

} // namespace

int qarn_service_fragments(const void *reply, size_t size, uint32_t sap, size_t max_data, qarn_service_take take,
                           void *context, qarn_service_error *error) {
    return at_border(error, [&] {
        check(size, sap, max_data);
        const auto pass_on = [&](const Bytes &message) { return take(context, message.data(), message.size()) == 0; };
        const std::string_view bytes(static_cast<const char *>(reply), size);
        if (!cut(bytes, sap, max_data, static_cast<uint32_t>(size), pass_on)) throw Stopped();
    });
}
