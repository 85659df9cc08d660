// The builder of a reply for authors of services: checks every bound of the format, then encodes. The first error stays
// in the reply; its text names the element.
#include <qarnservice/reply.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "service/border.h"
#include "service/encoder.h"

struct qarn_service_reply {
    service::Encoder encoder;
    std::optional<service::ElementInfo> open; // the last element
    uint32_t limit = QARN_SERVICE_MAX_REPLY;
    uint32_t status = 0;
    qarn_service_error error = {};
};

namespace {

using service::at_border;
using service::Bytes;
using service::ElementInfo;
using service::Encoder;
using service::kTlvHeaderSize;
using service::Refusal;

using Reply = qarn_service_reply;

static_assert(+QARN_SERVICE_PROP_VSAN == +QARN_PROP_VSAN && +QARN_SERVICE_PROP_VLAN == +QARN_PROP_VLAN &&
              +QARN_SERVICE_PROP_INTF == +QARN_PROP_INTF && +QARN_SERVICE_PROP_CONDITIONAL == +QARN_PROP_CONDITIONAL &&
              +QARN_SERVICE_PROP_BFD == +QARN_PROP_BFD && +QARN_SERVICE_PROP_L2MP == +QARN_PROP_L2MP &&
              +QARN_SERVICE_PROP_FEX == +QARN_PROP_FEX);
static_assert(+QARN_SERVICE_VALUES_TEXT == +QARN_VAL_TEXT && +QARN_SERVICE_VALUES_COMMAND == +QARN_VAL_COMMAND);

// QARN_PROP_DUMMY marks the placeholders of the library, which no service may send.
constexpr uint32_t kProperties = 0xff & ~uint32_t{QARN_PROP_DUMMY};

std::string name_of(uint32_t uuid, uint32_t id) {
    return "element (" + std::to_string(uuid) + "," + std::to_string(id) + ")";
}

std::string hex(uint32_t word) {
    char text[sizeof "0xffffffff"];
    std::snprintf(text, sizeof text, "0x%x", word);
    return text;
}

// What was wrong, without the name of the element.
[[noreturn]] void refuse(const std::string &reason) {
    throw Refusal(reason);
}

void check_range(const char *what, uint32_t value, uint32_t low, uint32_t high) {
    if (value < low || value > high)
        refuse(std::string(what) + ' ' + std::to_string(value) + " is not between " + std::to_string(low) + " and " +
               std::to_string(high));
}

void check_key(uint32_t uuid, uint32_t id) {
    check_range("UUID", uuid, 1, QARN_SERVICE_MAX_UUID);
    check_range("id", id, 0, QARN_SERVICE_MAX_ID);
}

void check_element(const qarn_service_element &element) {
    check_key(element.uuid, element.id);
    check_range("level", element.level, 0, QARN_SERVICE_MAX_LEVEL);
    if ((element.property & ~kProperties) != 0)
        refuse("property " + hex(element.property) + " has other bits than " + hex(kProperties));
    check_range("kind of values", element.values, QARN_VAL_TEXT, QARN_VAL_COMMAND);
}

[[noreturn]] void refuse_size(uint32_t limit) {
    refuse("the reply would have more than " + std::to_string(limit) + " bytes");
}

std::string_view checked_text(const std::string &what, const char *text, std::size_t length) {
    if (text == nullptr && length != 0) refuse(what + " is null");
    if (length == QARN_SERVICE_TEXT) length = std::strlen(text);
    if (length > QARN_SERVICE_MAX_REPLY) refuse_size(QARN_SERVICE_MAX_REPLY); // too many to search
    const std::string_view view(text, length);
    const std::size_t nul = view.find('\0');
    if (nul != std::string_view::npos) refuse(what + " has a NUL at byte " + std::to_string(nul));
    return view;
}

uint32_t word_at(std::string_view bytes, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

void check_command(const std::string &what, std::string_view message) {
    if (message.size() < QARN_CMD_HEADER_SIZE)
        refuse(what + " has " + std::to_string(message.size()) + " bytes, and its header alone has " +
               std::to_string(int{QARN_CMD_HEADER_SIZE}));
    const uint32_t length = word_at(message, QARN_CMD_LENGTH_AT);
    if (length < QARN_CMD_HEADER_SIZE || length > message.size())
        refuse(what + " gives its length as " + std::to_string(length) + ", and has " + std::to_string(message.size()) +
               " bytes");
    const uint32_t stamp = word_at(message, QARN_CMD_STAMP_AT);
    if (stamp != QARN_CMD_STAMP && stamp != QARN_CMD_STAMP_SWAPPED) refuse(what + " has the wrong stamp " + hex(stamp));
}

const ElementInfo &open_element(const Reply &reply) {
    if (!reply.open) refuse("there is no element that this belongs to");
    return *reply.open;
}

void check_interface_value(const Reply &reply, uint32_t kind, const std::string &what) {
    const ElementInfo &element = open_element(reply);
    if ((element.property & QARN_PROP_INTF) == 0) refuse(what + " needs the property 0x4");
    if (element.val_type != kind) refuse(what + " needs " + std::to_string(kind) + " as the kind of values");
}

// Refuse TLVs with values of these sizes if the reply would exceed its limit.
void check_room(const Reply &reply, std::initializer_list<uint64_t> values) {
    uint64_t size = reply.encoder.size();
    for (const uint64_t value : values) {
        if (value > reply.limit) size = UINT64_C(1) << 32;
        size += kTlvHeaderSize + (value + 3) / 4 * 4;
    }
    if (size > reply.limit) refuse_size(reply.limit);
}

constexpr std::size_t kWord = sizeof(uint32_t);

void add_dependency(Reply &reply, uint32_t uuid, uint32_t id, uint32_t kind) {
    const ElementInfo &element = open_element(reply);
    try {
        check_key(uuid, id);
    } catch (const Refusal &refusal) {
        refuse("dependency on " + name_of(uuid, id) + ": " + refusal.what());
    }
    if (uuid == element.uuid && id == element.elem_id) refuse("it depends on itself");
    check_room(reply, {3 * kWord});
    reply.encoder.after(uuid, id, kind);
}

std::string with_name(const Reply &reply, const char *reason) {
    return reply.open ? name_of(reply.open->uuid, reply.open->elem_id) + ": " + reason : reason;
}

// Run `action` unless the reply has an error; keep the error.
template <typename Action>
int change(Reply *reply, const Action &action) {
    if (reply == nullptr) return QARN_SERVICE_NO_MEMORY;
    if (reply->error.code != QARN_SERVICE_OK) return reply->error.code;
    return at_border(&reply->error, [&] {
        try {
            action();
        } catch (const Refusal &refusal) {
            refuse(with_name(*reply, refusal.what()));
        }
    });
}

constexpr qarn_service_error kNoReply = {QARN_SERVICE_NO_MEMORY, "memory ran out"};

} // namespace
qarn_service_reply *qarn_service_reply_new() {
    return new (std::nothrow) Reply;
}

void qarn_service_reply_free(qarn_service_reply *reply) {
    delete reply;
}

void qarn_service_reply_clear(qarn_service_reply *reply) {
    if (reply == nullptr) return;
    const uint32_t limit = reply->limit;
    *reply = {};
    reply->limit = limit;
}

void qarn_service_reply_limit(qarn_service_reply *reply, uint32_t max_bytes) {
    if (reply != nullptr) reply->limit = std::min(max_bytes, uint32_t{QARN_SERVICE_MAX_REPLY});
}

int qarn_service_reply_element(qarn_service_reply *reply, const qarn_service_element *element) {
    return change(reply, [&] {
        reply->open = {element->uuid, element->id, element->level, element->property, element->values};
        check_element(*element);
        check_room(*reply, {5 * kWord});
        reply->encoder.element(*reply->open);
    });
}

int qarn_service_reply_after(qarn_service_reply *reply, uint32_t uuid, uint32_t id) {
    return change(reply, [&] { add_dependency(*reply, uuid, id, QARN_DEP_ORDER); });
}

int qarn_service_reply_only_if(qarn_service_reply *reply, uint32_t uuid, uint32_t id) {
    return change(reply, [&] {
        add_dependency(*reply, uuid, id, QARN_DEP_CONDITIONAL);
        reply->encoder.add_property(QARN_PROP_CONDITIONAL);
    });
}

int qarn_service_reply_text(qarn_service_reply *reply, const char *text, size_t length) {
    return change(reply, [&] {
        open_element(*reply);
        const std::string_view lines = checked_text("the text", text, length);
        check_room(*reply, {lines.size() + 1});
        reply->encoder.text(lines);
    });
}

int qarn_service_reply_intf_text(qarn_service_reply *reply, uint32_t if_index, const char *text, size_t length) {
    return change(reply, [&] {
        const std::string what = "the text of interface " + hex(if_index);
        check_interface_value(*reply, QARN_VAL_TEXT, what);
        const std::string_view lines = checked_text(what, text, length);
        check_room(*reply, {kWord, lines.size() + 1});
        reply->encoder.intf_text(if_index, lines);
    });
}

int qarn_service_reply_intf_command(qarn_service_reply *reply, uint32_t if_index, const void *message, size_t size) {
    return change(reply, [&] {
        const std::string what = "the command of interface " + hex(if_index);
        check_interface_value(*reply, QARN_VAL_COMMAND, what);
        const std::string_view bytes(static_cast<const char *>(message), size);
        check_command(what, bytes);
        check_room(*reply, {kWord, size});
        reply->encoder.intf_command(if_index, bytes);
    });
}

int qarn_service_reply_key(qarn_service_reply *reply, uint32_t index, const char *header, const char *name) {
    return change(reply, [&] {
        if (open_element(*reply).uuid == QARN_UUID_VLAN) check_range("VLAN", index, 0, QARN_SERVICE_MAX_VLAN);
        const std::string_view map = checked_text("the header of a key", header, QARN_SERVICE_TEXT);
        const std::string_view key = checked_text("the name of a key", name, QARN_SERVICE_TEXT);
        check_room(*reply, {kWord, map.size() + 1, key.size() + 1});
        reply->encoder.key(index, map, key);
    });
}

int qarn_service_reply_key_string(qarn_service_reply *reply, const char *name, const char *text, size_t length) {
    return change(reply, [&] {
        open_element(*reply);
        const std::string_view key = checked_text("the name of a key string", name, QARN_SERVICE_TEXT);
        const std::string_view lines = checked_text("the text of a key string", text, length);
        check_room(*reply, {key.size() + 1, lines.size() + 1});
        reply->encoder.key_string(key, lines);
    });
}

int qarn_service_reply_fail(qarn_service_reply *reply, uint32_t status) {
    return change(reply, [&] {
        if (status == 0) refuse("the failure status is 0, which is success");
        reply->status = status;
    });
}

const qarn_service_error *qarn_service_reply_error(const qarn_service_reply *reply) {
    return reply != nullptr ? &reply->error : &kNoReply;
}

int qarn_service_reply_bytes(qarn_service_reply *reply, const void **bytes, size_t *size) {
    *bytes = nullptr;
    *size = 0;
    return change(reply, [&] {
        if (reply->status != 0) reply->encoder = Encoder();
        const Bytes &whole = reply->encoder.seal(reply->status);
        *bytes = whole.data();
        *size = whole.size();
    });
}
