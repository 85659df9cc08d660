// Replies as YAML and back, for random replies: what a well-behaved service sends, and the same with damaged bytes.
// TLV_SEED and TLV_CASES in the environment set the first seed and the number of cases.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "sim/tlv.h"
#include "tools/qarn-tlv/decode.h"
#include "tools/qarn-tlv/encode.h"
#include "tools/qarn-tlv/messages.h"

namespace {

using sim::Bytes;

struct Dice {
    std::mt19937 engine;
    uint32_t below(std::size_t n) { return static_cast<uint32_t>(engine() % n); }
    bool one_in(uint32_t n) { return below(n) == 0; }
    uint32_t word() { return one_in(3) ? static_cast<uint32_t>(engine()) : below(9); }
    std::string text() {
        const std::vector<std::string> parts = {
            "  a b\n", "line\n", "\n",   " ",    "\"",           "\\",       ": #",          "\t",
            "\r\n",    "\x01",   "\x7f", "\xe9", "\xc3\xa9",     "\xc2\x85", "\xef\xbb\xbf", "\xe2\x80\xa8",
            "{n}",     "- ",     "",     "'",    "\xef\xbf\xbf", "---\n"};
        std::string text;
        for (uint32_t n = below(5); n > 0; --n)
            text += parts[below(parts.size())];
        return text;
    }
};

void say_something(Dice &dice, sim::Tlv &tlv) {
    switch (dice.below(8)) {
        case 0:
            tlv.element({dice.word(), dice.word(), dice.below(14), dice.word(), dice.below(3)});
            return;
        case 1:
            tlv.after(dice.word(), dice.word(), dice.below(3));
            return;
        case 2:
            tlv.text(dice.text());
            return;
        case 3:
            tlv.intf_text(dice.word(), dice.text());
            return;
        case 4:
            tlv.key_string(dice.text(), dice.text());
            return;
        case 5:
            tlv.key(dice.word(), dice.text(), dice.text());
            return;
        case 6:
            tlv.intf_command(dice.word(), sim::command_message(dice.text(), dice.one_in(4) ? 1 : QARN_CMD_STAMP));
            return;
        default:
            tlv.command(sim::command_message(dice.text()));
    }
}

Bytes random_reply(Dice &dice) {
    sim::Tlv tlv;
    if (!dice.one_in(20)) tlv.element({21, dice.below(9), dice.below(13), dice.below(256), dice.below(2)});
    for (uint32_t n = dice.below(12); n > 0; --n)
        say_something(dice, tlv);
    return tlv.reply(dice.one_in(9) ? dice.word() : 0);
}

Bytes damaged(Dice &dice, Bytes reply) {
    for (uint32_t n = dice.below(4); n > 0; --n)
        reply[dice.below(reply.size())] = static_cast<char>(dice.one_in(2) ? dice.below(16) : dice.below(256));
    if (dice.one_in(4)) reply.resize(dice.below(reply.size()));
    if (dice.one_in(6)) reply += dice.text();
    return reply;
}

uint32_t number_from(const char *variable, uint32_t fallback) {
    const char *text = std::getenv(variable);
    return text != nullptr ? static_cast<uint32_t>(std::stoul(text)) : fallback;
}

TEST(Tlv, KeepsEveryByteOfAReply) {
    const uint32_t first = number_from("TLV_SEED", 1), count = number_from("TLV_CASES", 3000);
    for (uint32_t seed = first; seed != first + count && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("TLV_CASES=1 TLV_SEED=" + std::to_string(seed));
        Dice dice{std::mt19937(seed)};
        const Bytes good = random_reply(dice), bad = damaged(dice, good);
        const std::string yaml = tlv::decode(good), bad_yaml = tlv::decode(bad);
        EXPECT_EQ(yaml.find("raw:"), std::string::npos) << yaml;
        EXPECT_EQ(tlv::encode("good", yaml), good) << yaml;
        EXPECT_EQ(tlv::encode("bad", bad_yaml), bad) << bad_yaml;
        EXPECT_EQ(tlv::from_messages(tlv::to_messages(bad, 20, 1 + dice.below(40)), {}), bad);
    }
}

} // namespace
