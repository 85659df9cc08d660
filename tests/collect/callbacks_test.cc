// In-process services: which functions of the callback table are invoked, what they are handed, and which services
// count as answered by them.
#include <qarncli/callbacks.h>

#include <algorithm>
#include <cerrno>

#include "sim/cfglib.h"
#include "support/story.h"

namespace {

using Names = std::vector<std::string>;

constexpr uint32_t kFallback = QARN_CB_FLAG_FALLBACK, kRunning = QARN_CB_FLAG_RUNNING;
constexpr uint32_t kBoth = kRunning | QARN_CB_FLAG_STARTUP;
constexpr uint32_t kSap = 20, kDns = 1348;
constexpr auto kOfAll = qarn_invoke_all_lib_funcs, kOfFeature = qarn_invoke_lib_funcs;

class Callbacks : public test::Story {
  protected:
    Callbacks() { sim::clear_callback_table(); }
    // One more row, whose function is there.
    void row(uint32_t sap, const std::string &function, uint32_t flags) {
        sim::add_callback_row(sap, function, "lib.so", flags);
        sw.library_functions[function] = [this, function](const qarn_cb_args *args) {
            invoked.push_back(function);
            handed = {args->mts_handle, args->zero, sim::request_in(args->msg)->src_sap};
        };
    }
    void await(const std::vector<uint32_t> &awaited) {
        std::copy(awaited.begin(), awaited.end(), saps);
        num_saps = sap_ctr = static_cast<int32_t>(awaited.size());
    }
    const Names &invoke(decltype(kOfAll) function, uint32_t cfg_source = QARN_SOURCE_RUNNING) {
        qarn_cfg_req_msg message = {};
        message.cfg_source = cfg_source;
        message.src_sap = 4711;
        invoked.clear();
        watch([&, sent = &message] { function(req.mts_handle, sent, 2740); });
        return invoked;
    }
    Names invoked;
    std::vector<uint32_t> handed;
};

TEST_F(Callbacks, AreSelectedByServiceSourceAndTransport) {
    const struct {
        const char *what;
        uint32_t sap = kSap, flags = kRunning, source = QARN_SOURCE_RUNNING;
        bool awaited = true, excluded = false, consumer = false;
        bool of_all = false, of_feature = false; // whether the function is invoked
    } cases[] = {
        {.what = "running for running", .of_all = true, .of_feature = true},
        {.what = "running for startup", .source = QARN_SOURCE_STARTUP},
        {.what = "both for startup", .flags = kBoth, .source = QARN_SOURCE_STARTUP, .of_all = true, .of_feature = true},
        {.what = "not awaited", .awaited = false, .consumer = true, .of_all = true},
        {.what = "excluded", .excluded = true},
        {.what = "fall-back, awaited", .flags = kRunning | kFallback, .of_feature = true},
        {.what = "fall-back, awaited consumer", .flags = kRunning | kFallback, .consumer = true},
        {.what = "fall-back, not awaited", .flags = kRunning | kFallback, .awaited = false, .of_all = true},
        {.what = "no SAP, against its flags", .sap = 0, .source = QARN_SOURCE_STARTUP, .of_all = true},
        {.what = "less than no SAP", .sap = 0xffffffff, .of_all = true},
        {.what = "SAP 0 excluded", .sap = 0, .awaited = false, .excluded = true},
        {.what = "an unknown source", .flags = kBoth, .source = 3},
    };
    for (const auto &c : cases) {
        for (const auto &[function, others] : {std::pair(kOfAll, 9u), {kOfFeature, 0u}, {kOfFeature, 9u}}) {
            sim::clear_callback_table();
            sw.services.clear();
            for (uint32_t i = 0; i < others; ++i) // as if fewer or more consumers than awaited answered
                sw.service("", 99, 99);
            if (c.consumer) sw.service("", c.sap, 1);
            row(c.sap, "f", c.flags);
            await({7, c.awaited ? c.sap : 8});
            saps_exclude[0] = c.sap;
            num_saps_exclude = c.excluded ? 1 : 0;
            const bool selected = function == kOfAll ? c.of_all : c.of_feature;
            EXPECT_EQ(invoke(function, c.source).size(), selected ? 1u : 0u) << c.what;
            const bool answered = selected && c.awaited && c.sap == kSap;
            EXPECT_EQ(sap_ctr, answered ? 1 : 2) << c.what;
            EXPECT_EQ(saps[1], answered ? 0 : c.awaited ? c.sap : 8) << c.what;
            EXPECT_EQ(calls_of("mts_drop").size(), 1u) << c.what;
        }
    }
}

TEST_F(Callbacks, AreHandedTheRequestInTheOrderOfTheTable) {
    row(21, "b", kRunning);
    row(20, "a", kRunning);
    row(20, "again", kRunning | kFallback); // nobody waits for it any more
    await({20, 21});
    EXPECT_EQ(invoke(kOfAll), (Names{"b", "a", "again"}));
    await({20, 21});
    EXPECT_EQ(invoke(kOfFeature), (Names{"b", "a"}));
    EXPECT_EQ(handed, (std::vector{req.mts_handle, 0u, 4711u}));
    EXPECT_EQ(sw.calls, (Names{"mts_opc_consumers_list(1, 7663, 256)", "mts_send(1, 0xfe000000, 4000, 7663, 2740)",
                               "mts_recv(1, 0, 7663)", "qarn_cfg_type_get()", "dlwrap_invoke_func(lib.so, b)",
                               "dlwrap_invoke_func(lib.so, a)", "mts_drop(1)"}));
}

TEST_F(Callbacks, KnowWhetherTheLastOfAFeatureWasDns) {
    row(kDns, "dns", kRunning);
    row(20, "a", kRunning);
    for (const auto &[last, variant, dns] : {std::tuple(kDns, 0u, 1), {kDns, 4u, 0}, {20u, 0u, 0}, {21u, 0u, 7}}) {
        cfg_display_type = variant;
        qarn_feature_dns = 7;
        for (const auto function : {kOfAll, kOfFeature}) {
            await({last == kSap ? kDns : 0u, last});
            invoke(function);
            EXPECT_EQ(qarn_feature_dns, function == kOfAll ? 7 : dns) << last << ' ' << variant;
        }
    }
}

TEST_F(Callbacks, AreNotInvokedWhenTheTransportFails) {
    const std::tuple<const char *, decltype(kOfAll), std::string> cases[] = {
        {"mts_opc_consumers_list", kOfFeature, "Num Consumers"},   {"mts_send", kOfAll, "Ascii cfg send failed"},
        {"mts_send", kOfFeature, "Ascii cfg feature send failed"}, {"mts_recv", kOfAll, "Ascii cfg recv failed"},
        {"mts_recv", kOfFeature, "Ascii cfg feature recv failed"},
    };
    row(20, "a", kRunning);
    for (const auto &[failing, function, message] : cases) {
        await({20});
        sw.next(failing, {-1, EIO});
        EXPECT_EQ(invoke(function), Names()) << failing;
        EXPECT_EQ(errors, message + ": Input/output error\n");
        EXPECT_EQ(sw.calls.back().find(failing), 0u) << "and nothing after it";
        EXPECT_EQ(std::pair(saps[0], sap_ctr), std::pair(20u, 1)) << failing;
    }
}

} // namespace
