// A request for the configuration, read from the bytes of its message. Nothing is read before its place is known to lie
// inside the bytes.
#include "service/received_request.h"

#include <qarncli/request.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "service/border.h"

namespace service {
namespace {

static_assert(+QARN_SERVICE_RUNNING == +QARN_SOURCE_RUNNING && +QARN_SERVICE_STARTUP == +QARN_SOURCE_STARTUP);
static_assert(+QARN_SERVICE_DISPLAY_ALL == +QARN_DISPLAY_ALL && +QARN_SERVICE_DISPLAY_VSAN == +QARN_DISPLAY_VSAN &&
              +QARN_SERVICE_DISPLAY_VLAN == +QARN_DISPLAY_VLAN &&
              +QARN_SERVICE_DISPLAY_INTERFACE == +QARN_DISPLAY_INTERFACE &&
              +QARN_SERVICE_DISPLAY_PROFILE == +QARN_DISPLAY_PROFILE &&
              +QARN_SERVICE_DISPLAY_BFD == +QARN_DISPLAY_BFD && +QARN_SERVICE_DISPLAY_L2MP == +QARN_DISPLAY_L2MP &&
              +QARN_SERVICE_DISPLAY_NO_L2MP == +QARN_DISPLAY_NO_L2MP &&
              +QARN_SERVICE_DISPLAY_FEX == +QARN_DISPLAY_FEX && +QARN_SERVICE_DISPLAY_NO_FEX == +QARN_DISPLAY_NO_FEX &&
              +QARN_SERVICE_DISPLAY_TEMPLATE == +QARN_DISPLAY_TEMPLATE);

using Message = qarn_cfg_req_msg;

constexpr std::size_t kMaxExcluded = sizeof Message::excl_saps / sizeof(uint32_t);

// The bytes of a message, which hold at least the part of fixed size.
class Reader {
  public:
    Reader(const void *bytes, std::size_t size) : bytes_(static_cast<const char *>(bytes)) {
        if (size < sizeof(Message))
            throw Refusal("the request has " + std::to_string(size) + " bytes, and needs at least " +
                          std::to_string(sizeof(Message)));
    }

    uint32_t word(std::size_t at) const {
        uint32_t word = 0;
        std::memcpy(&word, bytes_ + at, sizeof word);
        return word;
    }
    std::vector<uint32_t> words(std::size_t at, std::size_t count) const {
        std::vector<uint32_t> words(count);
        if (count != 0) std::memcpy(words.data(), bytes_ + at, count * sizeof(uint32_t));
        return words;
    }
    // A text that fills its field has no NUL.
    std::string text(std::size_t at, std::size_t size) const { return {bytes_ + at, strnlen(bytes_ + at, size)}; }
    void mask(std::size_t at, qarn_id_mask &mask) const { std::memcpy(&mask, bytes_ + at, sizeof mask); }

  private:
    const char *bytes_;
};

void check(const Reader &reader, std::size_t size) {
    const uint32_t named = reader.word(offsetof(Message, num_ifindex));
    const std::size_t room = (size - sizeof(Message)) / sizeof(uint32_t);
    if (named > room)
        throw Refusal("the request announces " + std::to_string(named) + " interfaces, and has " +
                      std::to_string(room));
    const uint32_t excluded = reader.word(offsetof(Message, num_excl_saps));
    if (excluded > kMaxExcluded)
        throw Refusal("the request excludes " + std::to_string(excluded) + " services; at most " +
                      std::to_string(kMaxExcluded) + " are possible");
    const uint32_t source = reader.word(offsetof(Message, cfg_source));
    if (source != QARN_SOURCE_RUNNING && source != QARN_SOURCE_STARTUP)
        throw Refusal("the request's source " + std::to_string(source) + " is neither running (1) nor startup (2)");
}

void read_words(const Reader &reader, Request &request) {
    request.src_sap = reader.word(offsetof(Message, src_sap));
    request.source = reader.word(offsetof(Message, cfg_source));
    request.display = reader.word(offsetof(Message, display));
    request.display_type = reader.word(offsetof(Message, display_type));
    request.with_defaults = reader.word(offsetof(Message, extra_opt)) != 0 ? 1 : 0;
    request.flags = reader.word(offsetof(Message, flags));
    request.token_id = reader.word(offsetof(Message, token_id));
    request.target = reader.word(offsetof(Message, target));
    reader.mask(offsetof(Message, vlan_mask), request.vlans);
    reader.mask(offsetof(Message, vsan_mask), request.vsans);
}

void read_lists(const Reader &reader, Request &request) {
    request.all_interfaces = reader.words(sizeof(Message), reader.word(offsetof(Message, num_ifindex)));
    request.sorted_interfaces = request.all_interfaces;
    std::ranges::sort(request.sorted_interfaces);
    request.all_excluded = reader.words(offsetof(Message, excl_saps), reader.word(offsetof(Message, num_excl_saps)));
    request.interfaces = request.all_interfaces.data();
    request.num_interfaces = request.all_interfaces.size();
    request.excluded = request.all_excluded.data();
    request.num_excluded = request.all_excluded.size();
}

void read_texts(const Reader &reader, Request &request) {
    request.profile = reader.text(offsetof(Message, profile_name), sizeof Message::profile_name);
    request.uri = reader.text(offsetof(Message, startup_uri), sizeof Message::startup_uri);
    request.command = reader.text(offsetof(Message, cmd_line), sizeof Message::cmd_line);
    request.profile_name = request.profile.c_str();
    request.startup_uri = request.uri.c_str();
    request.command_line = request.command.c_str();
}

int has_id(const qarn_id_mask &mask, uint32_t id) {
    return id < 8 * sizeof mask.bits && (mask.bits[id >> 3] & (0x80u >> (id & 7))) != 0 ? 1 : 0;
}

} // namespace

std::unique_ptr<Request> read_request(const void *bytes, std::size_t size) {
    const Reader reader(bytes, size);
    check(reader, size);
    auto request = std::make_unique<Request>();
    request->message.assign(static_cast<const char *>(bytes), size);
    read_words(reader, *request);
    read_lists(reader, *request);
    read_texts(reader, *request);
    return request;
}

} // namespace service

using service::at_border;
using service::Request;
using service::whole;

int qarn_service_request_new(const void *bytes, size_t size, qarn_service_request **request,
                             qarn_service_error *error) {
    *request = nullptr;
    return at_border(error, [&] { *request = service::read_request(bytes, size).release(); });
}

void qarn_service_request_free(qarn_service_request *request) {
    delete static_cast<Request *>(request);
}

int qarn_service_request_has_interface(const qarn_service_request *request, uint32_t if_index) {
    return std::ranges::binary_search(whole(request).sorted_interfaces, if_index) ? 1 : 0;
}

int qarn_service_request_has_vlan(const qarn_service_request *request, uint32_t vlan) {
    return service::has_id(whole(request).vlans, vlan);
}

int qarn_service_request_has_vsan(const qarn_service_request *request, uint32_t vsan) {
    return service::has_id(whole(request).vsans, vsan);
}

void qarn_service_request_bytes(const qarn_service_request *request, const void **bytes, size_t *size) {
    *bytes = whole(request).message.data();
    *size = whole(request).message.size();
}
