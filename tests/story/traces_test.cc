// Every debug bit on one small switch: what it traces, and where its traces are among the lines of the configuration.
// scripts/update-golden rewrites the texts in tests/golden/traces_*.txt.
#include <fstream>
#include <sstream>

#include "sim/cfglib.h"
#include "support/globals.h"
#include "support/story.h"

namespace {

constexpr uint32_t kPort = 0x101, kHiddenPort = 0x102, kChannel = 0x16000001;
constexpr uint32_t kPorts = 0x10000 + 501, // a key has its low 16 bits
    kChannelBlock = 20, kKeyed = 505;
constexpr uint32_t kNoVsan = 5000;
constexpr uint32_t kPortsSap = 21, kKeyedSap = 24, kInProcessSap = 27;

const struct {
    const char *name;
    uint32_t bit;
} kBits[] = {
    {"collect", QARN_DEBUG_COLLECT}, {"decode", QARN_DEBUG_DECODE}, {"interface", QARN_DEBUG_INTERFACE},
    {"graph", QARN_DEBUG_GRAPH},     {"lookup", QARN_DEBUG_LOOKUP}, {"store", QARN_DEBUG_STORE},
    {"print", QARN_DEBUG_PRINT},
};

class Traces : public test::Story {
  protected:
    Traces() {
        sw.output = stdout; // as the traces
        save_startup();
        sw.lock_response = {"readonly:/store/bin", "readonly:/store/debug", 0};
        add_interface(kPort, "Ethernet1/1", 1);
        add_interface(kHiddenPort, "Ethernet1/2", 1).vsan = kNoVsan;
        add_interface(kChannel, "port-channel1", kChannelBlock).members = {kPort};

        sim::Service &system = sw.service("system", 20, 500);
        system.element(1, 0).text = "hostname leaf\n";
        system.element(2, 0, QARN_PROP_CONDITIONAL).text = "feature ospf\n";
        system.elements.back().dependencies = {{500, 1}, {500, 1, QARN_DEP_CONDITIONAL}, {500, 9}};
        system.element(3, 0, QARN_PROP_CONDITIONAL).dependencies = {{500, 9, QARN_DEP_CONDITIONAL}};
        sim::Service &ports = sw.service("ports", kPortsSap, kPorts);
        sim::Element &texts = ports.element(1, 2, QARN_PROP_INTF | QARN_PROP_BFD);
        texts.intf_texts = {{kPort, "  description one\n"}, {kChannel, " \n"}};
        texts.dependencies = {{500, 1}, {kKeyed, 1}, {506, 9}}; // seen before, seen later, never seen
        ports.element(2, 2, QARN_PROP_INTF).intf_texts = {{kPort, "  shutdown"}};
        ports.elements.back().val_type = QARN_VAL_COMMAND;
        sim::Service &blocks = sw.service("blocks", 22, QARN_UUID_INTERFACE);
        for (const uint32_t block : {1u, kChannelBlock, kChannelBlock + 1})
            blocks.element(block, 4, QARN_PROP_BFD);
        sim::Service &vlans = sw.service("vlans", 23, QARN_UUID_VLAN);
        for (const uint32_t id : {2u, 5u}) // VLANs and VLAN configurations
            vlans.element(id, 3).keys = {{9, "", "9"}, {10, "", "10"}};
        sim::Element &keyed = sw.service("keyed", kKeyedSap, kKeyed).element(1, 5);
        keyed.key_strings = {{"vlan 10\n", "  name x\n"}, {"line\n", " exec\n"}, {"empty\n", ""}};
        sim::Element &once = sw.service("once", 25, QARN_UUID_KEYS_ONCE).element(1, 6);
        once.keys = {{0, "console\n", "line\n"}, {0, "", "vty\n"}};
        sw.services.push_back(sw.services.back());
        sw.services.back().sap = 26; // says the same once more
        sw.service("commands", 28, 507)
            .replies(test::Tlv().element({.uuid = 507, .elem_id = 1}).command(sim::command_message("own")));

        sw.service("in-process", kInProcessSap, 508).silent();
        sw.library_functions["f"] = [](const qarn_cb_args *) {};
    }

    // Show the configuration as a command that is the library's first, after its name.
    void show(const std::string &name, EntryPoint entry_point) {
        test::reset_globals();
        sim::add_callback_row(kInProcessSap, "f", "lib.so", QARN_CB_FLAG_RUNNING);
        req.info_flags = 0;
        req.sap = 0;
        run(entry_point);
        shown += "[" + name + "]\n" + traces;
    }
    void show_running_configuration() {
        show("running", qarn_cli_run_cfg_gen);
        show("running bfd", qarn_cli_run_bfd_cfg_gen);
        add_token(QARN_TOKEN_MEMBERSHIP);
        show("running interface membership", qarn_cli_run_intf_cfg_gen);
        for (const uint32_t sap : {kPortsSap, kKeyedSap, kInProcessSap}) {
            req.num_tokens = 0;
            add_sap_token(sap);
            show("running of SAP " + std::to_string(sap), qarn_cli_run_cfg_gen_sap);
        }
        req.num_tokens = 0;
        sim::Element &first = sw.services.front().elements.front();
        first.dependencies = {{500, 2}};
        show("running with a loop", qarn_cli_run_cfg_gen);
        first.dependencies.clear();
    }
    void show_startup_configuration() {
        save_startup("! stored\n");
        show("startup", qarn_cli_start_cfg_gen);
        std::filesystem::remove_all(sw.bin_startup_dir);
        std::filesystem::create_directory(sw.bin_startup_dir);
        show("startup without a binary store", qarn_cli_start_cfg_gen);
    }
    void expect_golden(const char *name) {
        const std::string path = std::string(GOLDEN) + "/traces_" + name + ".txt";
        if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(path) << masked();
        std::stringstream golden;
        golden << std::ifstream(path).rdbuf();
        EXPECT_EQ(masked(), golden.str()) << name;
        shown.clear();
    }
    // What differs from run to run: the path of the store, and the addresses of texts that were looked up.
    std::string masked() const {
        std::istringstream lines(shown);
        std::string all;
        for (std::string line; std::getline(lines, line); all += line + "\n") {
            if (const std::size_t at = line.find(sw.ascii_startup_dir); at != std::string::npos)
                line.replace(at, sw.ascii_startup_dir.size(), "STORE");
            if (line.starts_with("String lookup for ") && !line.ends_with(" was 0"))
                line.replace(line.rfind(' ') + 1, std::string::npos, "ADDRESS");
        }
        return all;
    }

    std::string shown;
};

TEST_F(Traces, OfEveryBitAreThoseOfTheGoldenTexts) {
    for (const auto &[name, bit] : kBits) {
        req.dbg_mask = bit;
        show_running_configuration();
        show_startup_configuration();
        expect_golden(name);
    }
}

TEST_F(Traces, OfAllBitsTogetherAreThoseOfTheGoldenText) {
    req.dbg_mask = 0xff & ~QARN_DEBUG_NO_TIMEOUT;
    show("running", qarn_cli_run_cfg_gen);
    expect_golden("all");
}

TEST_F(Traces, OfFunctionsThatNoCommandCalls) {
    debug = QARN_DEBUG_STORE;
    test::start_generation(&req);
    int vlan = 7;
    GString shared = {const_cast<char *>("shared"), 6, 7}, other = {const_cast<char *>("other"), 5, 6};
    watch([&] {
        qarn_vlan_reversetable_print(&vlan, &shared, nullptr);
        for (const char *header : {"header\n", "header\n"})
            qarn_key_feature_print(const_cast<char *>(header), &shared, nullptr);
        EXPECT_EQ(qarn_vlan_get_bitmask(&other, &vlan, &shared), 0);
        EXPECT_EQ(g_vlan_bitset, nullptr);
        for (const int is_first : {1, 0})
            EXPECT_EQ(qarn_vlan_get_bitmask(&shared, &vlan, &shared), is_first);
        EXPECT_EQ(g_vlan_bitset, &vlan);
    });
    EXPECT_EQ(traces,
              "PRINTING reversetable\n vlan id is 7\n reverse value str is shared\n reverse value len is 6\n"
              "qarn_key_feature_print value::shared len::6\nheader\n"
              "qarn_key_feature_print value::shared len::6\n"
              "qarn_vlan_get_bitmask strcmp failed\n"
              "qarn_vlan_get_bitmask found matching keystr shared\n"
              "qarn_vlan_get_bitmask found matching vlan bitmask\n");
}

} // namespace
