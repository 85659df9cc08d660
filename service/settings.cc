#include "service/settings.h"

#include <qarncli/message.h>
#include <qarnservice/reply.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <ctime>
#include <string>

#include "service/border.h"

namespace service {
namespace {

constexpr uint32_t kUsualMaxData = 32768;                    // bytes
constexpr uint32_t kLowestSap = 2, kHighestSap = 0xfffffffe; // the others have meanings in a request

std::string host() {
    char name[HOST_NAME_MAX + 1] = {};
    gethostname(name, HOST_NAME_MAX);
    return name;
}

std::string text_of(const char *option, const char *given) {
    std::string text = given != nullptr ? given : "";
    if (text.empty()) throw Refusal(std::string("the option ") + option + " is missing");
    if (std::ranges::any_of(text, [](unsigned char c) { return std::iscntrl(c) != 0; }))
        throw Refusal(std::string("the option ") + option + " has a control character");
    return text;
}

void check(const qarn_service_options &options) {
    if (options.size != sizeof options)
        throw Refusal("the options have " + std::to_string(options.size) + " bytes in their field size, not " +
                      std::to_string(sizeof options));
    if (options.sap < kLowestSap || options.sap > kHighestSap)
        throw Refusal("SAP " + std::to_string(options.sap) + " is not between 2 and 4294967294");
    if (options.uuid < 1 || options.uuid > QARN_SERVICE_MAX_UUID)
        throw Refusal("UUID " + std::to_string(options.uuid) + " is not between 1 and 65535");
}

nats::Access access_of(const qarn_service_options &options) {
    nats::Access access = {.url = text_of("url", options.url), .client_name = "qarnservice"};
    if (options.credentials != nullptr) access.credentials = options.credentials;
    return access;
}

nats::Registration registration_of(const qarn_service_options &options) {
    return {.place = {text_of("switch_name", options.switch_name),
                      options.vdc != nullptr ? text_of("vdc", options.vdc) : "1"},
            .opcode = options.by_sap_only != 0 ? nats::kNoOpcode : uint32_t{QARN_OPC_REQUEST},
            .sap = options.sap,
            .name = text_of("name", options.name),
            .uuid = options.uuid,
            .host = host(),
            .pid = getpid(),
            .since = std::time(nullptr)};
}

} // namespace

Settings settings_of(const qarn_service_options &options) {
    check(options);
    return {.access = access_of(options),
            .registration = registration_of(options),
            .max_data = options.max_data != 0 ? options.max_data : kUsualMaxData};
}

} // namespace service
