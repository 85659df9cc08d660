#include "service/settings.h"

#include <qarncli/message.h>
#include <qarnservice/reply.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <ctime>
#include <string>
#include <system_error>

#include "nats/names.h"
#include "nats/process.h"
#include "service/border.h"

namespace service {
namespace {

constexpr uint32_t kUsualMaxData = 32768; // bytes

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
    if (options.sap < nats::kLowestSap || options.sap > nats::kHighestSap)
        throw Refusal("SAP " + std::to_string(options.sap) + " is not between 2 and 4294967294");
    if (options.uuid < 1 || options.uuid > QARN_SERVICE_MAX_UUID)
        throw Refusal("UUID " + std::to_string(options.uuid) + " is not between 1 and 65535");
}

nats::Access access_of(const qarn_service_options &options) {
    nats::Access access = {.url = text_of("url", options.url), .client_name = "qarnservice"};
    if (options.credentials != nullptr) access.credentials = options.credentials;
    return access;
}

// One number has one text, because it becomes a word of subjects.
std::string vdc_of(const char *given) {
    const std::string text = given != nullptr ? text_of("vdc", given) : "1";
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number == 0)
        throw Refusal("the option vdc is \"" + text + "\", which is no number from 1 to 65535");
    return std::to_string(number);
}

nats::Place place_of(const qarn_service_options &options) {
    nats::Place place = {text_of("switch_name", options.switch_name), vdc_of(options.vdc)};
    if (const auto reason = nats::why_too_long("switch", place.switch_name)) throw Refusal(*reason);
    return place;
}

nats::Registration registration_of(const qarn_service_options &options) {
    const nats::ProcessIdentity process = nats::own_process();
    return {.place = place_of(options),
            .opcode = options.by_sap_only != 0 ? nats::kNoOpcode : uint32_t{QARN_OPC_REQUEST},
            .sap = options.sap,
            .name = text_of("name", options.name),
            .uuid = options.uuid,
            .host = host(),
            .pid = process.pid,
            .machine = process.machine,
            .started = process.started,
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
