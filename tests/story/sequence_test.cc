// The order of steps that the printed text alone does not show: what the output routine receives, and what is still
// there when it is called.
#include <algorithm>
#include <utility>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "sim/cfglib.h"
#include "support/interpose.h"
#include "support/story.h"

namespace {

constexpr uint32_t kSapDns = 1348;

std::vector<std::string> events; // formats printed and traced, and what was found then

int32_t note_format(const char *format, ...) {
    events.emplace_back(format);
    if (key_str_list != nullptr) events.emplace_back("contributions");
    return 0;
}

int note_trace(std::FILE *, const char *format, va_list) {
    events.push_back(format + std::to_string(qarn_feature_dns));
    return 0;
}

void note_free(void *memory) {
    if (!events.empty()) events.emplace_back("free");
    std::free(memory);
}

class Sequence : public test::Story {
  protected:
    Sequence() { events.clear(); }
    // Whether these events followed each other; forgets all events.
    static bool happened(const std::vector<std::string> &sequence) {
        const std::vector<std::string> all = std::exchange(events, {});
        return std::search(all.begin(), all.end(), sequence.begin(), sequence.end()) != all.end();
    }
    // The library's output, as formats.
    const test::Interposed output{"csm_qarn_sp_print", reinterpret_cast<void *>(note_format)};
};

TEST_F(Sequence, PrintsFixedMessagesAsFormats) {
    sim::Element &looping = sw.service("a", 20, 1).element(1, 3);
    looping.dependencies = {{1, 1}};
    run();
    EXPECT_EQ(events.back(), "KEYSTR Loop in the graph\n");
    looping.property = QARN_PROP_INTF;
    run();
    EXPECT_EQ(events.back(), "Loop in the graph\n");
    save_startup("!saved\n");
    std::filesystem::remove_all(sw.bin_startup_dir);
    std::filesystem::create_directory(sw.bin_startup_dir);
    run(qarn_cli_start_vlan_cfg_gen);
    EXPECT_EQ(events.back(), "ERROR: Please do 'copy run start' and retry.\n");
}

TEST_F(Sequence, FreesTheRequestBeforeTheClosingNewline) {
    const test::Interposed freeing("free", reinterpret_cast<void *>(note_free));
    sw.service("a", 20, 1).element(1, 3).text = "a\n";
    run();
    EXPECT_EQ(events.back(), "\n");
}

TEST_F(Sequence, PrintsACheckpointsVlanWhileItsContributionsAreListed) {
    sim::Element &vlans = sw.service("vlan", 20, QARN_UUID_VLAN).element(2, 3);
    vlans.keys = {{10, "", "10"}};
    vlans.key_strings = {{"vlan 10\n", "  name x\n"}};
    g_cli_generic_option = QARN_OPTION_CHECKPOINT;
    for (const uint32_t debug_mask : {uint32_t{0}, uint32_t{QARN_DEBUG_STORE}}) {
        req.dbg_mask = debug_mask;
        run();
        EXPECT_TRUE(happened({"%s", "contributions", "%s", "contributions"})) << debug_mask;
    }
}

TEST_F(Sequence, SetsTheDnsFlagAfterTheServiceCountsAsAnswered) {
    const test::Interposed tracing("vfprintf", reinterpret_cast<void *>(note_trace));
    sw.service("dns", kSapDns, 2).silent();
    sw.library_functions["f"] = [](const qarn_cb_args *) {};
    sim::add_callback_row(kSapDns, "f", "lib.so", QARN_CB_FLAG_RUNNING);
    req.dbg_mask = QARN_DEBUG_COLLECT | QARN_DEBUG_STORE;
    add_sap_token(kSapDns);
    run(qarn_cli_run_cfg_gen_sap);
    EXPECT_TRUE(happened({"Received config from Sap:%d\n0", "Sap ctr = %d\n1"}));
}

const unsigned char *rendered;

TEST_F(Sequence, ResetsTheRenderingStateBeforeItFreesAnInterfaceLinesHandle) {
    cmd_output_format = 1;
    g_cmd_xml_info[2] = [](void *handle, uint32_t, void *) { rendered = static_cast<unsigned char *>(handle); };
    unsigned char first_byte = 0;
    sw.on_call = [&](const std::string &call) {
        if (call.starts_with("reset_global_tlv_vars("))
            first_byte = *rendered; // a freed handle is the sanitizer's find
    };
    watch([] { qarn_send_intf_info("Ethernet1/1"); });
    EXPECT_EQ(first_byte, static_cast<unsigned char>(reinterpret_cast<uintptr_t>(rendered) + QARN_CMD_STAMP));
}

} // namespace
