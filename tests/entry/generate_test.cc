// The driver: who is asked, how long it waits, and how a generation ends when something fails.
#include <cerrno>
#include <filesystem>
#include <optional>

#include "platform/sysmgr.h"
#include "sim/cmdshell.h"
#include "sim/reply.h"
#include "support/story.h"

namespace {

using Saps = std::vector<std::uint32_t>;
using Calls = std::vector<std::string>;

class Driver : public test::Story {
  protected:
    sim::Service &service_that_says(std::uint32_t sap, const std::string &line) {
        return sw.service(std::to_string(sap), sap, sap).replies(test::line(sap, line + "\n"));
    }
};

TEST_F(Driver, CallsThePlatformInItsOrder) {
    service_that_says(20, "a");
    add_interface(7, "mgmt0", 1);
    generate();
    EXPECT_EQ(sw.calls, (Calls{
                            "if_manager_ifindex_list_get(1)",
                            "vdc_get_type()",
                            "mts_opc_consumers_list(1, 7663, 256)",
                            "mts_send(1, 0xfe000000, 4000, 7663, 2744)",
                            "mts_recv(1, 0, 7663)",
                            "qarn_cfg_type_get()",
                            "mts_drop(1)",
                            "mts_send(1, 0xfe000000, 0, 7663, 2744)",
                            "mts_recv(1, 120, 7664)",
                            "mts_payload_get()",
                            "mts_drop(1)",
                            "srg_sw_ver_get(0)",
                            "qarn_cb_run_cfg_generate(0x0)",
                        }));
    EXPECT_EQ(req.gen_started, 1u);
    EXPECT_EQ(gl_q, 1u);
}

TEST_F(Driver, AsksWhomTheRequestNames) {
    for (const std::uint32_t sap : {20u, 21u, 22u})
        service_that_says(sap, std::to_string(sap));
    sim::set_sap_row(2, {21, 20}, 5);
    sw.service("zero", 0, 9).consumer = false;
    const struct {
        const char *what;
        std::uint32_t sap, index, target;
        Saps asked;
    } cases[] = {
        {"all consumers", 0, 0, 0, {4000, 0}},
        {"all consumers one by one", 1, 0, 1, {4000, 20, 21, 22}},
        {"one service", 22, 0, 22, {4000, 22}},
        {"a row, which adds to the one before", 0xffffffff, 2, 2, {4000, 21, 20}},
        {"SAP 0 of a row's request", 0, 2, 0, {4000}},
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
        EXPECT_EQ(qarn_feature_send_all, c.sap == 1) << c.what;
        EXPECT_EQ(ftbl_index, c.index) << c.what;
    }
    req.index = 0;
    generate();
    EXPECT_EQ(qarn_feature, 1) << "sticky";
    EXPECT_EQ(asked(), (Saps{4000})) << "the list of the command before has been answered";
}

TEST_F(Driver, WaitsOnceMoreForTheCliServer) {
    service_that_says(20, "a");
    sw.service("cli", 296, 96).silent();
    sw.service("dead", 21, 21).silent();
    const sim::Bytes reply = test::line(21, "the last fragment is missing\n").reply();
    sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY,
                         sim::fragment(21, false, static_cast<std::uint32_t>(reply.size()), reply));
    EXPECT_EQ(generate(), 0x405f0001u);
    EXPECT_EQ(text,
              "!Waiting on CLI Server to respond..\n"
              "The following SAPs did not respond within the expected timeframe\nPending SAPS:296 21 \n"
              "Printing Ascii configuration for remaining SAPs\n" +
                  header() + "a\n\n\n");
    EXPECT_EQ(sw.transport.timeouts, (Saps{0, 120, 120, 120, 120}));
    sw.find_service("cli")->is_silent = false;
    generate();
    EXPECT_EQ(text.find("The following SAPs"), 0u) << "only the CLI server is waited for again";
}

TEST_F(Driver, ReturnsTheErrnoOfAFailingTransport) {
    service_that_says(20, "a");
    service_that_says(21, "b");
    const struct {
        const char *function;
        int error;
        std::uint32_t sap;
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
        EXPECT_EQ(generate(), 0x805f0000u | (static_cast<std::uint32_t>(c.error) & 0xfff)) << c.text << c.errors;
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(errors, c.errors);
        EXPECT_EQ(calls_of("mts_send").size(), 2u) << "itself and the first that cannot be reached";
    }
}

TEST_F(Driver, EndsWithoutServicesOrConsumers) {
    EXPECT_EQ(generate(), 0u);
    EXPECT_EQ(text, "No registered SAPS\n");
    for (const std::uint32_t sap : {0u, 1u}) {
        req.sap = sap;
        num_saps = 3;
        sw.next("mts_opc_consumers_list", {-1, EBADF});
        EXPECT_EQ(generate(), 0x405f0001u);
        EXPECT_EQ(text, "");
        EXPECT_EQ(errors, "Num Consumers: Bad file descriptor\n");
    }
}

TEST_F(Driver, PrintsOnlyTheClosingNewlineWhenThereIsNothingToAsk) {
    service_that_says(20, "a");
    EXPECT_EQ(run(qarn_cli_run_intf_cfg_gen), 0u);
    EXPECT_EQ(text, "\n") << "no interfaces";
    EXPECT_EQ(asked(), Saps());
    cfg_display = 0;
    test::FailingMalloc memory;
    memory.fail_nth(1, sizeof(qarn_cfg_req_msg));
    EXPECT_EQ(generate(), 0x405f0001u);
    EXPECT_EQ(text, "\n");
}

TEST_F(Driver, ChoosesTheDisplayVariant) {
    service_that_says(20, "a");
    const std::tuple<std::uint32_t, std::uint32_t, int, int> cases[] = {
        {115, 4, 0, 0},  {116, 5, 1, 1},  {148, 13, 0, 0}, {149, 14, 0, 1},
        {150, 15, 0, 1}, {169, 12, 1, 1}, {117, 0, 0, 0}};
    for (const auto &[code, type, walk, header] : cases) {
        g_all_intf_config_printed = g_intf_config_printed = 0;
        req.cmd_code = code;
        generate();
        EXPECT_EQ(sent_request().display_type, type) << code;
        EXPECT_EQ(g_all_intf_config_printed, walk) << code;
        EXPECT_EQ(g_intf_config_printed, header) << code;
    }
}

TEST_F(Driver, TracesSelectionAndCollection) {
    service_that_says(20, "a");
    req.dbg_mask = 0x61;
    req.sap = 20;
    saps_exclude[0] = 5;
    num_saps_exclude = 1;
    generate();
    EXPECT_EQ(traces,
              "Sap:20\nIndex:0\nNum Saps:1\nNum Saps Excluded:1\n"
              "Received Message fragment from Sap 20 of length 52, Last Message 1\n"
              "Received config from Sap:20\nSap ctr = -1\nInfo flag = 0x0\n");
    EXPECT_EQ(text.find("Pending SAPS:20 \nPending SAPS:5 \nPending SAPS:\n\n!Command"), 0u) << text;
    EXPECT_EQ(sw.transport.timeouts.back(), 0u) << "no limit";
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
        generate(2);
        EXPECT_STREQ(sent_request().startup_uri, base) << uri;
        EXPECT_STREQ(req.startup_uri, base) << uri;
        EXPECT_EQ(locks().size(), 2u);
        EXPECT_EQ(start_cfg_locked, 0u);
    }
    sw.lock_response.reset();
    generate(2);
    EXPECT_STREQ(sent_request().startup_uri, "readonly:/var/sysmgr/startup-cfg");
}

TEST_F(StartupDriver, RefusesWithoutWhatTheDisplayNeeds) {
    const std::string copy_first = "ERROR: Please do 'copy run start' and retry.\n";
    std::filesystem::remove(sw.bin_startup_dir + "/vlan.bin");
    EXPECT_EQ(run(qarn_cli_start_vlan_cfg_gen), 0u);
    EXPECT_EQ(text, copy_first);
    EXPECT_EQ(calls_of("sysmgrcmi_dir_get").size(), 2u);
    cfg_display = 0;
    cmd_token_id = 203;
    generate(2);
    EXPECT_EQ(text, copy_first);
    cmd_token_id = 0;
    Calls program;
    sw.run_program = [&](const Calls &words) { return program = words, 0; };
    EXPECT_EQ(generate(2), 0u);
    EXPECT_EQ(text, "");
    EXPECT_EQ(program, (Calls{"/bin/cat", sw.ascii_startup_dir + "/system.cfg"}));
    EXPECT_EQ(calls_of("sysmgrcmi_dir_get").size(), 2u) << "one for each condition that needs it";
    req.sap = 20;
    generate(2);
    EXPECT_EQ(text, "ERROR:No binary startup-config present. Use \"show startup-config\" instead.\n");
    std::filesystem::remove(sw.ascii_startup_dir + "/system.cfg");
    EXPECT_EQ(generate(2), 0x40540025u);
    EXPECT_EQ(text, std::string(syserr2str(0x40540025)) + "\n");
    EXPECT_EQ(locks(), Calls());
}

TEST_F(StartupDriver, ReleasesTheStoreOnEveryWayOut) {
    std::optional<test::FailingMalloc> memory;
    const auto fail_second = [&](const char *function, int error) { sw.next(function, {-1, error, 1}); };
    const struct {
        const char *what;
        std::function<void()> spoil;
        std::uint32_t status;
        std::size_t locks;
    } cases[] = {
        {"refused", [&] { sw.next("cmi_req_resp", {0x4711}); }, 0x4711, 1},
        {"no memory for the URI", [&] { memory->fail_nth(1, 21); }, 0x405f0001, 2},
        {"no memory for the request", [&] { memory->fail_nth(1, sizeof(qarn_cfg_req_msg)); }, 0x405f0001, 2},
        {"no consumer list", [&] { sw.next("mts_opc_consumers_list", {-1}); }, 0x405f0001, 2},
        {"no consumers", [&] { sw.services.front().consumer = false; }, 0, 2},
        {"no receive", [&] { fail_second("mts_recv", EIO); }, 0x805f0005, 2},
        {"no send, and none of the release",
         [&] {
             fail_second("mts_send", ENOBUFS), sw.next("cmi_req_resp", {0, EIO, 1});
         },
         0x805f0069, 2},
    };
    for (const auto &c : cases) {
        memory.emplace();
        sw.scripted.clear();
        sw.services.front().consumer = true;
        c.spoil();
        EXPECT_EQ(generate(2), c.status) << c.what;
        EXPECT_EQ(locks().size(), c.locks) << c.what;
        EXPECT_EQ(start_cfg_locked, 0u) << c.what;
        EXPECT_EQ(text.find("\na\n"), std::string::npos) << c.what;
    }
}

TEST_F(StartupDriver, ReleasesTheStoreBeforeItPrintsAndAgainWhenThatFailed) {
    sw.error_texts[5] = "busy";
    sw.next("cmi_req_resp", {5, 0, 1});
    EXPECT_EQ(generate(2), 0u);
    EXPECT_EQ(text, std::string("busy\n\n!Command: show running-config\n!Time: ") + test::kNowText +
                        "!Startup config saved at: yesterday\n\nversion 4.2(7)\na\n\n\n");
    EXPECT_EQ(req.info_flags, 2u);
    const std::string exchange = "8, \"\", \"\", 76, 1, 20)";
    EXPECT_EQ(locks(), (Calls{"cmi_req_resp(7670, 3, lock, " + exchange, "cmi_req_resp(7670, 3, unlock, " + exchange,
                              "cmi_req_resp(7670, 3, unlock, " + exchange}));
    EXPECT_EQ(start_cfg_locked, 0u);
}

TEST_F(StartupDriver, TracesTheStore) {
    req.dbg_mask = 0x40;
    generate(2);
    const std::string lock =
        "Bin Config URI base = readonly:/store/x/bin\nDebug Config URI base = \n"
        "Status is  success\n";
    EXPECT_EQ(traces, "Startup bin cfg dir " + sw.bin_startup_dir + " count:1\n" + lock +
                          "URI BIN BASE LEN is 21\nURI BASE is readonly:/store/x Len is 17\n"
                          "Received Message fragment from Sap 20 of length 52, Last Message 1\nSap ctr = 0\n" +
                          lock + "Info flag = 0x2\n");
}

} // namespace
