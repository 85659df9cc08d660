// The request message as services receive it: every field at its offset.
#include <cstring>

#include "support/story.h"

namespace {

class RequestMessage : public test::Story {
  protected:
    RequestMessage() { sw.service("a", 20, 1); }

    const sim::Bytes &bytes() { return sw.transport.sent.at(0).payload; }
    uint32_t word(std::size_t offset) {
        uint32_t value = 0;
        std::memcpy(&value, bytes().data() + offset, sizeof value);
        return value;
    }
    sim::Bytes field(std::size_t offset, std::size_t size) { return bytes().substr(offset, size); }
};

TEST_F(RequestMessage, CarriesTheCommandAtItsOffsets) {
    for (const uint32_t index : {7u, 8u, 9u})
        add_interface(index, "if", 3);
    num_saps_exclude = 2;
    saps_exclude[0] = 5;
    saps_exclude[1] = 1348;
    req.svc_flags = 0x44;
    req.cmd_code = 148;
    add_token(130);
    add_token(QARN_TOKEN_EXTRA_RUNNING);
    req.cmd_line[0] = '\0';
    std::strcat(req.cmd_line, std::string(300, 'c').c_str());
    run();
    ASSERT_EQ(bytes().size(), 2752u);
    EXPECT_EQ(word(0), 4000u) << "who asks";
    EXPECT_EQ(word(4), 512u);
    EXPECT_EQ(field(8, 512), sim::Bytes(512, '\xff')) << "every VSAN";
    EXPECT_EQ(word(520), 512u);
    EXPECT_EQ(field(524, 512), sim::Bytes(512, '\xff')) << "every VLAN";
    const std::vector<uint32_t> words = {0, 0x44, 1, 13, 0, 1, 130, 3, 0, 5, 1348, 0};
    for (std::size_t i = 0; i < words.size(); ++i)
        EXPECT_EQ(word(1036 + 4 * i), words[i]) << 1036 + 4 * i;
    EXPECT_EQ(field(1080, 1016), sim::Bytes(1016, '\0')) << "no more excluded SAPs";
    EXPECT_EQ(word(2096), 2u);
    EXPECT_EQ(field(2100, 256), "readonly:/var/sysmgr/startup-cfg" + sim::Bytes(224, '\0'));
    EXPECT_EQ(field(2356, 128), sim::Bytes(128, '\0'));
    EXPECT_EQ(field(2484, 256), sim::Bytes(255, 'c') + '\0');
    EXPECT_EQ(std::vector({word(2740), word(2744), word(2748)}), (std::vector<uint32_t>{7, 8, 9}));
}

TEST_F(RequestMessage, HasNoExtraOptWithoutItsToken) {
    req.info_flags = ~uint32_t{QARN_INFO_EXTRA_OPT};
    run();
    EXPECT_EQ(sent_request().extra_opt, 0u);
}

TEST_F(RequestMessage, NamesThePortProfileOfItsDisplay) {
    add_text_token(std::string(130, 'p'));
    run(qarn_cli_run_profile_cfg_gen);
    EXPECT_EQ(bytes().size(), 2740u) << "no interfaces";
    EXPECT_EQ(field(2356, 128), sim::Bytes(128, 'p')) << "cut, without a NUL";
    req.tokens[0]->value = nullptr;
    run(qarn_cli_run_profile_cfg_gen);
    EXPECT_EQ(field(2356, 128), sim::Bytes(128, '\0'));
}

TEST_F(RequestMessage, SaysWhetherAnExtraTokenWasGiven) {
    constexpr uint32_t kNoExtraToken = 0x100;
    const struct {
        uint32_t cmd_code = 0, token = 0, flags = 0, token_id = 0;
    } cases[] = {
        {.flags = kNoExtraToken},
        {.token = QARN_TOKEN_FORWARDED_FIRST - 1},
        {.token = QARN_TOKEN_FORWARDED_FIRST, .token_id = QARN_TOKEN_FORWARDED_FIRST},
        {.token = QARN_TOKEN_FORWARDED_LAST, .token_id = QARN_TOKEN_FORWARDED_LAST},
        {.token = QARN_TOKEN_FORWARDED_LAST + 1},
        {.cmd_code = 109, .token = QARN_TOKEN_COMMAND_109, .flags = kNoExtraToken},
        {.cmd_code = 108, .token = QARN_TOKEN_COMMAND_109},
        {.cmd_code = 109, .token = QARN_TOKEN_COMMAND_109 + 1},
    };
    for (const auto &c : cases) {
        req.cmd_code = c.cmd_code;
        cmd_token_id = c.token;
        run();
        EXPECT_EQ(sent_request().flags, c.flags) << c.cmd_code << " " << c.token;
        EXPECT_EQ(sent_request().token_id, c.token_id) << c.token;
    }
}

TEST_F(RequestMessage, FiltersByTheIdsOfItsDisplay) {
    add_ranges_token({{1, 2}, {4094, 4095}});
    run(qarn_cli_run_vlan_cfg_gen);
    EXPECT_EQ(field(524, 512), "\x60" + sim::Bytes(510, '\0') + "\x03");
    EXPECT_EQ(field(8, 512), sim::Bytes(512, '\xff'));
    req.vsan_mask.bits[0] = 0xbf;
    run(qarn_cli_run_vsan_cfg_gen);
    EXPECT_EQ(field(8, 512), "\x20" + sim::Bytes(510, '\0') + "\x03") << "VSAN 1 may not be shown";
    EXPECT_EQ(field(524, 512), sim::Bytes(512, '\xff'));
}

} // namespace
