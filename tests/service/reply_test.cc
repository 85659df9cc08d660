// The builder of replies: what the library prints of a reply, and what the builder refuses.
#include <qarnservice/qarnservice.h>

#include <functional>
#include <memory>
#include <new>

#include "sim/reply.h"
#include "support/story.h"

namespace {

int allocations_left = -1; // until one fails; negative: none fails

} // namespace

// Of the whole program, libqarnservice included. Where only one of the two is inlined, the compiler takes them for a
// mismatch.
void *operator new(std::size_t size) {
    if (allocations_left == 0) throw std::bad_alloc();
    if (allocations_left > 0) --allocations_left;
    void *memory = std::malloc(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return allocations_left == 0 ? nullptr : operator new(size);
}
[[gnu::noinline]] void operator delete(void *memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using sim::Bytes;
using Reply = std::unique_ptr<qarn_service_reply, decltype(&qarn_service_reply_free)>;

constexpr qarn_service_element kTunnel = {21, 4, 3, 0, 0};
constexpr qarn_service_element kPort = {21, 5, 3, QARN_SERVICE_PROP_INTF, 0};
constexpr qarn_service_element kCommand = {21, 6, 3, QARN_SERVICE_PROP_INTF, QARN_SERVICE_VALUES_COMMAND};
constexpr qarn_service_element kVlan = {383, 2, 4, 0, 0};
constexpr std::size_t kText = QARN_SERVICE_TEXT;

Reply new_reply() {
    return {qarn_service_reply_new(), qarn_service_reply_free};
}

Bytes bytes_of(qarn_service_reply *reply) {
    const void *bytes = nullptr;
    std::size_t size = 0;
    qarn_service_reply_bytes(reply, &bytes, &size);
    return {static_cast<const char *>(bytes), size};
}

// One call of every function that adds something.
void fill(qarn_service_reply *reply) {
    static const Bytes command = sim::command_message("  shutdown");
    const qarn_service_element block = {QARN_UUID_INTERFACE, 3, 11, 0, 0};
    const qarn_service_element only = {22, 1, 3, 0, 0};
    qarn_service_reply_element(reply, &only);
    qarn_service_reply_only_if(reply, 22, 9);
    qarn_service_reply_text(reply, "never\n", kText);
    qarn_service_reply_element(reply, &kTunnel);
    qarn_service_reply_after(reply, 383, 2);
    qarn_service_reply_text(reply, "tunnel\nrest", 7);
    qarn_service_reply_key(reply, 0, "", "tunnel 1\n");
    qarn_service_reply_key(reply, 0, "vrf a\n", "a");
    qarn_service_reply_key_string(reply, "a", "  route\n", kText);
    qarn_service_reply_element(reply, &kPort);
    qarn_service_reply_intf_text(reply, 7, "  mtu 9000\n", kText);
    qarn_service_reply_element(reply, &kCommand);
    qarn_service_reply_intf_command(reply, 7, command.data(), command.size());
    qarn_service_reply_element(reply, &block);
}

class ServiceReply : public test::Story {};

TEST_F(ServiceReply, IsPrintedAsItWasBuilt) {
    const Reply reply = new_reply();
    fill(reply.get());
    add_interface(7, "Ethernet1/1", 3);
    sw.service("a", 20, 21).script = [&](const qarn_cfg_req_msg &) { return bytes_of(reply.get()); };
    run();
    EXPECT_EQ(body(), "tunnel 1\nvrf a\n  route\ntunnel\n\n\ninterface Ethernet1/1\n  shutdown\n  mtu 9000\n");

    qarn_service_reply_fail(reply.get(), 0x2a);
    run();
    EXPECT_EQ(text.find("tunnel"), std::string::npos) << text;
    EXPECT_EQ(qarn_outcome_last()->verdict, uint32_t{QARN_OUTCOME_INCOMPLETE});
}

TEST_F(ServiceReply, RefusesWhatBreaksABoundAndNamesTheElement) {
    const Bytes good = sim::command_message("x"), stamp = sim::command_message("x", 1);
    const Bytes longer = sim::command_message("x").replace(QARN_CMD_LENGTH_AT, 1, "\x43");
    const auto element = [](const qarn_service_element &info) {
        return [=](qarn_service_reply *reply) { qarn_service_reply_element(reply, &info); };
    };
    const auto in = [](const qarn_service_element &info, const std::function<void(qarn_service_reply *)> &add) {
        return [=](qarn_service_reply *reply) {
            qarn_service_reply_element(reply, &info);
            add(reply);
        };
    };
    const auto command = [&](const Bytes &message) {
        return in(kCommand, [=](auto *r) { qarn_service_reply_intf_command(r, 7, message.data(), message.size()); });
    };
    const struct {
        std::function<void(qarn_service_reply *)> build;
        const char *error;
    } cases[] = {
        {element({1, 0, 0, 0, 0}), ""},
        {element({65535, 65535, 12, 0xef, 1}), ""},
        {element({0, 4, 0, 0, 0}), "element (0,4): UUID 0 is not between 1 and 65535"},
        {element({65536, 4, 0, 0, 0}), "element (65536,4): UUID 65536 is not between 1 and 65535"},
        {element({21, 65536, 0, 0, 0}), "element (21,65536): id 65536 is not between 0 and 65535"},
        {element({21, 4, 13, 0, 0}), "element (21,4): level 13 is not between 0 and 12"},
        {element({21, 4, 0, 0x10, 0}), "element (21,4): property 0x10 has other bits than 0xef"},
        {element({21, 4, 0, 0, 2}), "element (21,4): kind of values 2 is not between 0 and 1"},
        {[](auto *r) { qarn_service_reply_text(r, "x", 1); }, "there is no element that this belongs to"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_after(r, 0, 1); }),
         "element (21,4): dependency on element (0,1): UUID 0 is not between 1 and 65535"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_only_if(r, 21, 4); }), "element (21,4): it depends on itself"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_text(r, "a\0b", 3); }),
         "element (21,4): the text has a NUL at byte 1"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_key(r, 0, "", nullptr); }),
         "element (21,4): the name of a key is null"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_intf_text(r, 7, "", 0); }),
         "element (21,4): the text of interface 0x7 needs the property 0x4"},
        {in(kCommand, [](auto *r) { qarn_service_reply_intf_text(r, 7, "", 0); }),
         "element (21,6): the text of interface 0x7 needs 0 as the kind of values"},
        {command(good), ""},
        {command(good.substr(0, 63)),
         "element (21,6): the command of interface 0x7 has 63 bytes, and its header alone has 64"},
        {command(longer), "element (21,6): the command of interface 0x7 gives its length as 67, and has 66 bytes"},
        {command(stamp), "element (21,6): the command of interface 0x7 has the wrong stamp 0x1"},
        {in(kVlan, [](auto *r) { qarn_service_reply_key(r, 4095, "", "v"); }), ""},
        {in(kVlan, [](auto *r) { qarn_service_reply_key(r, 4096, "", "v"); }),
         "element (383,2): VLAN 4096 is not between 0 and 4095"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_text(r, "", ~std::size_t{1}); }),
         "element (21,4): the reply would have more than 4294967231 bytes"},
        {in(kTunnel, [](auto *r) { qarn_service_reply_fail(r, 0); }),
         "element (21,4): the failure status is 0, which is success"},
    };
    for (const auto &[build, error] : cases) {
        const Reply reply = new_reply();
        build(reply.get());
        EXPECT_STREQ(qarn_service_reply_error(reply.get())->text, error);
        EXPECT_EQ(bytes_of(reply.get()).empty(), *error != '\0') << error;
        qarn_service_reply_element(reply.get(), &kPort);
        EXPECT_STREQ(qarn_service_reply_error(reply.get())->text, error) << "a later call";
    }
}

TEST_F(ServiceReply, HasAsManyBytesAsItsLimitAllows) {
    const Reply reply = new_reply();
    constexpr uint32_t kWhole = 12 + 28 + 12; // header, element, a text of 3 bytes
    for (const uint32_t limit : {kWhole - 1, kWhole}) {
        qarn_service_reply_clear(reply.get());
        qarn_service_reply_limit(reply.get(), limit);
        qarn_service_reply_element(reply.get(), &kTunnel);
        qarn_service_reply_text(reply.get(), "abc", 3);
        EXPECT_EQ(bytes_of(reply.get()).size(), limit == kWhole ? kWhole : 0);
    }
}

TEST_F(ServiceReply, ReportsEveryAllocationThatFails) {
    const Reply whole = new_reply();
    fill(whole.get());
    int code = QARN_SERVICE_NO_MEMORY;
    for (int works = 0; code != QARN_SERVICE_OK; ++works) {
        allocations_left = works;
        const Reply reply = new_reply();
        fill(reply.get());
        allocations_left = -1;
        code = qarn_service_reply_error(reply.get())->code;
        ASSERT_TRUE(code == QARN_SERVICE_NO_MEMORY || bytes_of(reply.get()) == bytes_of(whole.get()));
        ASSERT_LT(works, 1000);
    }
}

TEST_F(ServiceReply, IsCutIntoMessagesThatJoinToIt) {
    const Reply reply = new_reply();
    fill(reply.get());
    const Bytes bytes = bytes_of(reply.get());
    const auto keep = [](void *context, const void *message, std::size_t size) {
        auto &messages = *static_cast<std::deque<Bytes> *>(context);
        messages.emplace_back(static_cast<const char *>(message), size);
        return messages.size() == 100 ? 1 : 0;
    };
    std::deque<Bytes> sent;
    for (const std::size_t size : {std::size_t{7}, bytes.size() - 1, bytes.size()}) {
        sent.clear();
        EXPECT_EQ(qarn_service_fragments(bytes.data(), bytes.size(), 20, size, keep, &sent, nullptr), 0);
        std::deque<Bytes> expected;
        for (const auto &message : sim::fragments(20, bytes, size))
            expected.push_back(message.payload);
        EXPECT_EQ(sent, expected);
    }
    qarn_service_error error = {};
    EXPECT_EQ(qarn_service_fragments(bytes.data(), bytes.size(), 1, 7, keep, &sent, &error), QARN_SERVICE_INVALID);
    EXPECT_STREQ(error.text, "SAP 1 is not between 2 and 4294967294");
    EXPECT_EQ(qarn_service_fragments(bytes.data(), 3, 20, 7, keep, &sent, &error), QARN_SERVICE_INVALID);
    EXPECT_STREQ(error.text, "a reply of 3 bytes has no status");
    sent.resize(99);
    EXPECT_EQ(qarn_service_fragments(bytes.data(), bytes.size(), 20, 7, keep, &sent, &error), QARN_SERVICE_STOPPED);
    EXPECT_EQ(sent.size(), 100u);
}

} // namespace
