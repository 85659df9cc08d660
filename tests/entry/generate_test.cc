// The driver: who is asked, how long it waits, and how a generation ends when something fails.
#include <cerrno>
#include <filesystem>

#include "platform/sysmgr.h"
#include "sim/cmdshell.h"
#include "sim/reply.h"
#include "support/story.h"

namespace {

using Saps = std::vector<uint32_t>;
using Calls = std::vector<std::string>;

constexpr uint32_t kOwnSap = 4000, kEveryConsumer = 0, kCliServer = 296;               // SAPs
constexpr uint32_t kOneByOne = QARN_SAP_ALL_CONSUMERS, kTableRow = QARN_SAP_TABLE_ROW; // of the request
constexpr uint32_t kKeyWord = 5, kTimeout = 120;

class Driver : public test::Story {
  protected:
    static std::string silent(const std::string &pending) {
        return "The following SAPs did not respond within the expected timeframe\nPending SAPS:" + pending +
               " \nPrinting Ascii configuration for remaining SAPs\n";
    }
    sim::Service &service_that_says(uint32_t sap, const std::string &line) {
        return sw.service(std::to_string(sap), sap, sap).replies(test::line(sap, line + "\n"));
    }
};

TEST_F(Driver, AsksWhomTheRequestNames) {
    for (const uint32_t sap : {20u, 21u, 22u})
        service_that_says(sap, std::to_string(sap));
    sim::set_sap_row(2, {21, 20}, kKeyWord);
    sim::set_sap_row(3, {0, 22}, 0); // one SAP, and not in the first slot
    const struct {
        const char *what;
        uint32_t sap = 0, index = 0, target = 0;
        Saps asked;
    } cases[] = {
        {.what = "all consumers", .asked = {kOwnSap, kEveryConsumer}},
        {.what = "all consumers one by one", .sap = kOneByOne, .target = kOneByOne, .asked = {kOwnSap, 20, 21, 22}},
        {.what = "one service", .sap = 22, .target = 22, .asked = {kOwnSap, 22}},
        {.what = "a row", .sap = kTableRow, .index = 2, .target = 2, .asked = {kOwnSap, 21, 20}},
        {.what = "a slot beyond the number of SAPs", .sap = kTableRow, .index = 3, .target = 3, .asked = {kOwnSap}},
        {.what = "SAP 0 of a row's request", .index = 2, .asked = {kOwnSap}},
    };
    for (const auto &c : cases) {
        qarn_feature = qarn_feature_send_all = 0;
        num_saps = 0;
        req.sap = c.sap;
        req.index = c.index;
        generate();
        EXPECT_EQ(asked(), c.asked) << c.what;
        EXPECT_EQ(sent_request(sw.transport.sent.size() - 1).target, c.target) << c.what;
        EXPECT_EQ(qarn_feature, c.sap != 0 || c.index != 0) << c.what;
        EXPECT_EQ(qarn_feature_send_all, c.sap == kOneByOne) << c.what;
        EXPECT_EQ(ftbl_index, c.index) << c.what;
        EXPECT_EQ(qarnkey, c.index == 2 && c.sap != 0 ? kKeyWord : 0) << c.what;
        qarnkey = 0;
    }
    req.index = 0;
    generate();
    EXPECT_EQ(qarn_feature, 1) << "sticky";
    EXPECT_EQ(asked(), Saps{kOwnSap}) << "the list of the command before has been answered";
}

TEST_F(Driver, AddsTheSapsOfARowUpToTheSizeOfTheList) {
    sim::set_sap_row(2, {21, 20}, 0);
    for (const int32_t expected : {255, 256}) {
        num_saps = expected - 2;
        qarn_get_saps_from_sap_table(2);
        EXPECT_EQ(num_saps, expected);
    }
    qarn_get_saps_from_sap_table(2);
    EXPECT_EQ(num_saps, 256);
    num_saps = 0;
    for (const uint32_t no_row : {17u, kTableRow})
        qarn_get_saps_from_sap_table(no_row);
    EXPECT_EQ(num_saps, 0);
}

TEST_F(Driver, FindsASapByItsFirstPosition) {
    const uint32_t list[] = {1, 7, 4, 7};
    EXPECT_EQ(qarn_sap_list_find(list, 4, 7), 1);
    EXPECT_EQ(qarn_sap_list_find(list, 1, 7), -1);
}

TEST_F(Driver, SetsTheDisplayVariantOfTheCommandCode) {
    service_that_says(20, "a");
    const struct {
        uint32_t cmd_code, display_type;
        int32_t no_interface_walk = 0, no_interface_header = 0;
    } cases[] = {
        {.cmd_code = 116, .display_type = 5, .no_interface_walk = 1, .no_interface_header = 1},
        {.cmd_code = 149, .display_type = 14, .no_interface_header = 1},
        {.cmd_code = 117, .display_type = 0},
    };
    for (const auto &c : cases) {
        g_all_intf_config_printed = g_intf_config_printed = 0;
        req.cmd_code = c.cmd_code;
        generate();
        EXPECT_EQ(sent_request().display_type, c.display_type) << c.cmd_code;
        EXPECT_EQ(g_all_intf_config_printed, c.no_interface_walk) << c.cmd_code;
        EXPECT_EQ(g_intf_config_printed, c.no_interface_header) << c.cmd_code;
    }
}

TEST_F(Driver, WaitsOnceMoreForTheCliServer) {
    sw.service("cli", kCliServer, 96).silent(); // at position 0 of the list
    service_that_says(20, "a");
    EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u);
    EXPECT_EQ(text,
              "!Waiting on CLI Server to respond..\n" + silent(std::to_string(kCliServer)) + header() + "a\n\n\n");
    EXPECT_EQ(sw.transport.timeouts, (Saps{0, kTimeout, kTimeout, kTimeout}));
}

TEST_F(Driver, WaitsNoLongerForAnyOtherService) {
    service_that_says(20, "a");
    sw.service("dead", 21, 21).silent();
    const sim::Bytes reply = test::line(21, "the last fragment is missing\n").reply();
    sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY,
                         sim::fragment(21, false, static_cast<uint32_t>(reply.size()), reply));
    EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u);
    EXPECT_EQ(text, silent("21") + header() + "a\n\n\n");
    EXPECT_EQ(sw.transport.timeouts, (Saps{0, kTimeout, kTimeout, kTimeout}));
}

TEST_F(Driver, WaitsWithoutATimeOutUnderItsDebugBit) {
    service_that_says(20, "a");
    req.dbg_mask = QARN_DEBUG_NO_TIMEOUT;
    generate();
    EXPECT_EQ(sw.transport.timeouts, (Saps{0, 0}));
}

TEST_F(Driver, ReturnsTheErrnoOfAFailingTransport) {
    service_that_says(20, "a");
    service_that_says(21, "b");
    const struct {
        const char *function;
        int error;
        uint32_t sap;
        std::string text, errors;
    } cases[] = {
        {"mts_send", ENOBUFS, 0, "", "Ascii cfg send notify failed: No buffer space available\n"},
        {"mts_send", EPIPE, 1, "Service not enabled\n", ""},
        {"mts_send", ENOTCONN, 1, "Module not available\n", ""},
        {"mts_send", EAGAIN, 20, "ERROR: send failed ret=-7 errno 11\n", ""},
        {"mts_recv", EIO, 0, "", "QARN recv: Input/output error\n"},
        {"mts_recv", 0x1234, 0, "", "QARN recv: Unknown error 4660\n"},
    };
    for (const auto &c : cases) {
        sw.scripted.clear();
        qarn_feature = 0;
        req.sap = c.sap;
        sw.next(c.function, {-7, c.error, 1}); // the first call of either belongs to the in-process services
        EXPECT_EQ(generate(), QARN_STATUS_TRANSPORT(c.error)) << c.text << c.errors;
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(errors, c.errors);
        EXPECT_EQ(calls_of("mts_send").size(), 2u) << "itself and the first that cannot be reached";
    }
}

TEST_F(Driver, EndsWithoutServicesOrConsumers) {
    EXPECT_EQ(generate(), 0u);
    EXPECT_EQ(text, "No registered SAPS\n");
    EXPECT_EQ(req.gen_started, 1u);
    for (const uint32_t sap : {0u, kOneByOne}) {
        req.sap = sap;
        num_saps = 3;
        sw.next("mts_opc_consumers_list", {-1, EBADF});
        EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u);
        EXPECT_EQ(text, "");
        EXPECT_EQ(errors, "Num Consumers: Bad file descriptor\n");
    }
}

TEST_F(Driver, PrintsOnlyTheClosingNewlineWithoutInterfacesToShow) {
    service_that_says(20, "a");
    EXPECT_EQ(run(qarn_cli_run_intf_cfg_gen), 0u);
    EXPECT_EQ(text, "\n");
    EXPECT_EQ(asked(), Saps());
}

// The startup configuration, with a store that has both forms.
class StartupDriver : public Driver {
  protected:
    StartupDriver() {
        save_startup("stored\n!Startup config saved at: yesterday\n");
        respond_with("readonly:/store/x/bin");
        service_that_says(20, "a");
    }
    void respond_with(const std::string &uri) {
        sw.lock_response.emplace();
        uri.copy(sw.lock_response->bin_uri, sizeof sw.lock_response->bin_uri - 1);
    }
    Calls locks() const { return calls_of("cmi_req_resp"); }
};

TEST_F(StartupDriver, TakesItsUriFromTheStoreOrTheDefault) {
    const std::pair<const char *, const char *> cases[] = {{"readonly:/store/x/bin", "readonly:/store/x"},
                                                           {"abcde", "a"},
                                                           {"/bin", ""},
                                                           {"bin", "readonly:/var/sysmgr/startup-cfg"},
                                                           {"", "readonly:/var/sysmgr/startup-cfg"}};
    for (const auto &[uri, base] : cases) {
        respond_with(uri);
        generate(QARN_SOURCE_STARTUP);
        EXPECT_STREQ(sent_request().startup_uri, base) << uri;
        EXPECT_STREQ(req.startup_uri, base) << uri;
        EXPECT_EQ(locks().size(), 2u);
        EXPECT_EQ(start_cfg_locked, 0u);
    }
    sw.lock_response.reset();
    generate(QARN_SOURCE_STARTUP);
    EXPECT_STREQ(sent_request().startup_uri, "readonly:/var/sysmgr/startup-cfg");
}

TEST_F(StartupDriver, RefusesWithoutWhatTheDisplayNeeds) {
    const std::string copy_first = "ERROR: Please do 'copy run start' and retry.\n";
    std::filesystem::remove(sw.bin_startup_dir + "/vlan.bin");
    EXPECT_EQ(run(qarn_cli_start_vlan_cfg_gen), 0u);
    EXPECT_EQ(text, copy_first);
    EXPECT_EQ(calls_of("sysmgrcmi_dir_get").size(), 2u);
    cfg_display = 0;
    cmd_token_id = QARN_TOKEN_SYNC_BODY;
    generate(QARN_SOURCE_STARTUP);
    EXPECT_EQ(text, copy_first);
    cmd_token_id = 0;
    Calls program;
    sw.run_program = [&](const Calls &words) { return program = words, 0; };
    EXPECT_EQ(generate(QARN_SOURCE_STARTUP), 0u);
    EXPECT_EQ(text, "");
    EXPECT_EQ(program, (Calls{"/bin/cat", sw.ascii_startup_dir + "/system.cfg"}));
    EXPECT_EQ(calls_of("sysmgrcmi_dir_get").size(), 2u) << "one for each condition that needs it";
    req.sap = 20;
    generate(QARN_SOURCE_STARTUP);
    EXPECT_EQ(text, "ERROR:No binary startup-config present. Use \"show startup-config\" instead.\n");
    std::filesystem::remove(sw.ascii_startup_dir + "/system.cfg");
    EXPECT_EQ(generate(QARN_SOURCE_STARTUP), QARN_STATUS_NO_STARTUP + 0u);
    EXPECT_EQ(text, std::string(syserr2str(QARN_STATUS_NO_STARTUP)) + "\n");
    EXPECT_EQ(locks(), Calls());
}

TEST_F(StartupDriver, EndsAtOnceWhenTheStoreIsRefused) {
    constexpr uint32_t kRefused = 0x4711;
    sw.error_texts[kRefused] = "busy";
    sw.next("cmi_req_resp", {kRefused});
    EXPECT_EQ(generate(QARN_SOURCE_STARTUP), kRefused);
    EXPECT_EQ(text, "busy\n") << "no closing newline";
    EXPECT_EQ(locks().size(), 1u);
}

TEST_F(StartupDriver, ReleasesTheStoreBeforeItPrintsAndAgainWhenThatFailed) {
    sw.error_texts[5] = "busy";
    sw.next("cmi_req_resp", {5, 0, 1});
    EXPECT_EQ(generate(QARN_SOURCE_STARTUP), 0u);
    EXPECT_EQ(text, std::string("busy\n\n!Command: show running-config\n!Time: ") + test::kNowText +
                        "!Startup config saved at: yesterday\n\nversion 4.2(7)\na\n\n\n");
    EXPECT_EQ(req.info_flags, QARN_INFO_STARTUP + 0u);
    const std::string exchange = "8, \"\", \"\", 76, 1, 20)";
    EXPECT_EQ(locks(), (Calls{"cmi_req_resp(7670, 3, lock, " + exchange, "cmi_req_resp(7670, 3, unlock, " + exchange,
                              "cmi_req_resp(7670, 3, unlock, " + exchange}));
    EXPECT_EQ(start_cfg_locked, 0u);
}

} // namespace
