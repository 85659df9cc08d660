// What a shell may ask: bytes choose an entry point and become the request's tokens, each with the kind of value that
// the entry point reads, such as range lists with any bounds. Then the command runs on a small switch. The remaining
// bytes are a set of ids, which is printed as ranges.
#include <qarncli/qarncli.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"
#include "sim/cmdshell.h"

namespace {

enum class Value { kNone, kSap, kRanges, kText };

struct Command {
    uint32_t (*entry_point)(qarn_req *);
    Value value;
};
constexpr Command kCommands[] = {
    {qarn_cli_run_cfg_gen, Value::kNone},         {qarn_cli_start_cfg_gen, Value::kNone},
    {qarn_cli_run_vsan_cfg_gen, Value::kRanges},  {qarn_cli_start_vsan_cfg_gen, Value::kRanges},
    {qarn_cli_run_vlan_cfg_gen, Value::kRanges},  {qarn_cli_start_vlan_cfg_gen, Value::kRanges},
    {qarn_cli_run_intf_cfg_gen, Value::kRanges},  {qarn_cli_start_intf_cfg_gen, Value::kRanges},
    {qarn_cli_run_profile_cfg_gen, Value::kText}, {qarn_cli_start_profile_cfg_gen, Value::kText},
    {qarn_cli_run_bfd_cfg_gen, Value::kNone},     {qarn_cli_run_exclude_l2mp_cfg_gen, Value::kNone},
    {qarn_cli_run_fex_cfg_gen, Value::kNone},     {qarn_cli_start_template_cfg_gen, Value::kNone},
    {qarn_cli_run_cfg_gen_exclude, Value::kSap},  {qarn_cli_start_cfg_gen_exclude, Value::kSap},
    {qarn_cli_run_cfg_gen_sap, Value::kSap},      {qarn_cli_start_cfg_gen_sap, Value::kSap},
};
constexpr uint32_t kTokenIds[] = {0,
                                  QARN_TOKEN_MEMBERSHIP,
                                  QARN_TOKEN_SYNC_BODY,
                                  QARN_TOKEN_EXTRA_RUNNING,
                                  QARN_TOKEN_EXTRA_STARTUP,
                                  QARN_TOKEN_SYNC_PLAIN};

// The request's tokens, and what they point to.
class Tokens {
  public:
    void read(fuzz::Input &input, Value value, qarn_req &req) {
        req.num_tokens = input.byte(); // may exceed the room in a request
        for (std::size_t i = 0; i < std::size(req.tokens); ++i) {
            const uint8_t kind = input.byte();
            if (kind == 0) continue;
            tokens_.push_back({kTokenIds[kind % std::size(kTokenIds)],
                               kind & 64u ? QARN_TOKEN_TYPE_INTERFACE : 0,
                               {0, 0},
                               kind & 128u ? nullptr : read_value(input, value)});
            req.tokens[i] = &tokens_.back();
        }
    }

  private:
    void *read_value(fuzz::Input &input, Value value) {
        switch (value) {
            case Value::kSap:
                return words_.emplace_back(1, input.word16()).data();
            case Value::kText:
                return texts_.emplace_back(input.bytes(input.byte())).data();
            case Value::kRanges:
                return read_ranges(input);
            default:
                return nullptr;
        }
    }

    void *read_ranges(fuzz::Input &input) {
        std::vector<uint32_t> &words = words_.emplace_back();
        const uint32_t count = input.byte() % 8u;
        words = {0, count};
        for (uint32_t i = 0; i < 2 * count; ++i)
            words.push_back(input.byte() % 4 != 0 ? input.word16() : input.word());
        return words.data();
    }

    std::deque<qarn_req_token> tokens_;
    std::deque<std::vector<uint32_t>> words_;
    std::deque<std::string> texts_;
};

// A saved configuration, made once and removed with the process.
const std::string &startup_folder() {
    static const std::string *folder = nullptr;
    if (folder != nullptr) return *folder;
    std::string path = std::filesystem::temp_directory_path() / "startupXXXXXX";
    if (mkdtemp(path.data()) == nullptr) std::abort();
    std::filesystem::create_directory(path + "/bin");
    std::ofstream(path + "/system.cfg") << "stored\n";
    std::ofstream(path + "/bin/vlan.bin") << "saved";
    folder = new std::string(path);
    std::atexit([] { std::filesystem::remove_all(*folder); });
    return *folder;
}

void add_service(sim::Switch &sw, uint32_t uuid, uint32_t elem_id) {
    constexpr uint32_t kViews =
        QARN_PROP_VLAN | QARN_PROP_VSAN | QARN_PROP_BFD | QARN_PROP_L2MP | QARN_PROP_FEX | QARN_PROP_INTF;
    sim::Element &element = sw.service("service", uuid, uuid).element(elem_id, 3, kViews);
    element.text = "text\n";
    element.port_profile = "p";
    element.intf_texts = {{1, "  one\n"}, {2, "  two\n"}};
    element.keys = {{1, "", "vlan 1\n"}, {2, "", "vlan 2\n"}, {3, "", "vlan 3\n"}};
    element.key_strings = {{"vlan 1\n", "  a\n"}, {"vlan 3\n", "  a\n"}};
}

void set_up(fuzz::CurrentSwitch &sw) {
    sw.version = "1";
    for (const uint32_t index : {1u, 2u, 3u})
        sw.add_interface(index, "e", index);
    add_service(sw, QARN_UUID_INTERFACE, 1);
    add_service(sw, QARN_UUID_VLAN, 2);
    sw.ascii_startup_dir = startup_folder();
    sw.bin_startup_dir = startup_folder() + "/bin";
}

// Choose the services that the request asks; by default the command's own.
void select_services(fuzz::Input &input, qarn_req &req) {
    const uint8_t selection = input.byte();
    if (selection % 8 == 1) req.sap = input.word();
    if (selection % 8 == 2) req.sap = QARN_SAP_ALL_CONSUMERS;
    if (selection % 8 == 3) {
        req.sap = QARN_SAP_TABLE_ROW;
        req.index = 1 + selection / 8 % 2;
        sim::set_sap_row(req.index, {QARN_UUID_VLAN, QARN_UUID_INTERFACE}, 0);
        sim::set_feature_row(req.index, {{QARN_UUID_VLAN, 0}});
    }
}

void print_mask(const std::string &bits) {
    qarn_id_mask mask = {};
    mask.len = sizeof mask.bits;
    std::memcpy(mask.bits, bits.data(), bits.size());
    qarn_vlan_mask_print(&mask);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::CurrentSwitch sw;
    set_up(sw);
    const Command &command = kCommands[input.byte() % std::size(kCommands)];
    qarn_req req = sw.accepted_request();
    req.valid = input.byte() != 0xff ? 1 : 0;
    req.cmd_code = input.byte();
    select_services(input, req);
    Tokens tokens;
    tokens.read(input, command.value, req);
    command.entry_point(&req);
    print_mask(input.bytes(sizeof qarn_id_mask::bits));
    return 0;
}
