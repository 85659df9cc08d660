// Joining fragments: whole replies in whatever pieces and order, broken ones dropped whole and reported.
#include <qarncli/reply_table.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "sim/reply.h"
#include "support/story.h"

namespace {

using sim::Bytes;
using sim::fragment;

class Replies : public test::Story {
  protected:
    // Run a command whose services answer with these fragments only; one service never answers.
    std::string print(const std::vector<Bytes> &fragments) {
        for (const Bytes &data : fragments)
            sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY, data);
        run();
        return text;
    }
};

constexpr char kSilence[] = "The following SAPs did not respond within the expected timeframe\n";

TEST_F(Replies, ThatBreakTheirBoundAreDroppedWholeAndReported) {
    const Bytes reply = test::line(1, "never\n").reply();
    const auto size = static_cast<uint32_t>(reply.size());
    struct {
        const char *what;
        std::vector<Bytes> fragments;
    } cases[] = {
        {"a fragment past the end", {fragment(20, false, size, reply), fragment(20, true, size, "x")}},
        {"the only one past the end", {fragment(20, true, size - 1, reply)}},
        {"no room for the status", {fragment(20, true, 3, Bytes(3, '\0'))}},
        {"nothing announced", {fragment(20, false, 0, ""), fragment(20, true, size, reply)}},
        {"more announced later",
         {fragment(20, false, 8, reply.substr(0, 8)), fragment(20, true, size, reply.substr(8))}},
        {"broken long before its end",
         {fragment(20, false, 8, reply), fragment(20, false, size, reply), fragment(20, true, size, "")}},
        {"a length that wraps", {fragment(20, false, size, reply.substr(0, 8)), fragment(20, true, size, "")}},
    };
    Bytes &wrapping = cases[6].fragments[1]; // 8 filled and this length add up to 4
    std::memset(&wrapping[offsetof(qarn_cfg_frag, len)], 0xff, 4);
    wrapping[offsetof(qarn_cfg_frag, len)] = '\xfc';
    sw.service("a", 20, 1).silent();
    sw.service("b", 21, 2).replies(test::line(2, "others\n"));
    for (const auto &[what, fragments] : cases) {
        print(fragments);
        EXPECT_EQ(text.find("Unable to extract data for Sap 20\n"), 0u) << what << text;
        EXPECT_NE(text.find(std::string(kSilence) + "Pending SAPS:20 \n"), std::string::npos) << what << text;
        EXPECT_EQ(text.find("never"), std::string::npos) << what;
        EXPECT_NE(text.find("\nothers\n"), std::string::npos) << what;
        EXPECT_EQ(status, 1u);
    }
}

TEST_F(Replies, ThatStopShortAreDecodedAsFarAsTheyGo) {
    sw.service("a", 20, 1).silent();
    const Bytes reply = test::line(1, "kept\n").text("lost\n").reply();
    const Bytes part = reply.substr(0, reply.size() - 12);
    for (const uint32_t announced : {static_cast<uint32_t>(reply.size()), 200000u}) {
        print({fragment(20, true, announced, part)});
        EXPECT_EQ(body(), "kept\n\n") << announced;
        EXPECT_EQ(errors,
                  "The configuration of Sap 20 is incomplete: 60 of " + std::to_string(announced) + " bytes arrived\n");
    }
}

std::size_t largest_block = 0;
void *malloc_of_a_small_switch(std::size_t size) {
    largest_block = std::max(largest_block, size);
    return size < 1u << 30 ? std::malloc(size) : nullptr;
}

TEST_F(Replies, OfHugeAnnouncedLengthNeverGetASmallBlock) {
    sw.service("a", 20, 1).silent();
    test::Interposed memory("malloc", reinterpret_cast<void *>(malloc_of_a_small_switch));
    print({fragment(20, true, 0xffffffff, test::line(1, "never\n").reply())});
    EXPECT_EQ(text.find("Unable to extract data for Sap 20\n"), 0u) << text;
    EXPECT_GE(largest_block, 0xffffffffu);
}

TEST_F(Replies, LeaveTheTableWhenTheyAreTaken) {
    test::start_generation(&req);
    void *reply = &req;
    qarn_msg_table_get(20, &reply);
    EXPECT_EQ(reply, nullptr);
    const auto add = [](const Bytes &data) {
        qarn_msg_table_add(reinterpret_cast<const qarn_cfg_frag *>(data.data()));
    };
    add(fragment(20, false, 6, "abc"));
    uint32_t sap = 20;
    const auto *entry = static_cast<const qarn_msg_entry *>(g_hash_table_lookup(msg_table_p, &sap));
    EXPECT_EQ(std::vector({entry->sap, entry->total_len, entry->filled}), (std::vector<uint32_t>{20, 6, 3}));
    add(fragment(20, true, 99, "de"));
    qarn_msg_table_get(20, &reply);
    EXPECT_EQ(std::memcmp(reply, "abcde\0\0\0", 8), 0) << "the tail and what comes after it read as zeros";
    std::free(reply);
    EXPECT_EQ(g_hash_table_size(msg_table_p), 0u);
}

} // namespace
