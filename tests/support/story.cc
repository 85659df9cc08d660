#include "support/story.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "platform/cfglib.h"

namespace test {

Story::Story() : clock_(kNow) {
    setenv("TZ", "UTC", 1);
    sw.version = "4.2(7)";
    sw.transport.unit = std::chrono::nanoseconds(0);
    sw.recording = true;
    sim::make_current(&sw);
    req.valid = 1;
    req.mts_handle = sw.transport.open(4000);
    req.vsan_mask.len = sizeof req.vsan_mask.bits;
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
    std::strcpy(req.cmd_line, "show running-config");
}

Story::~Story() {
    sim::make_current(nullptr);
    if (!store_.empty()) std::filesystem::remove_all(store_);
}

void Story::watch(const std::function<void()> &call) {
    sw.printed.clear();
    sw.calls.clear();
    sw.transport.sent.clear();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    call();
    traces = testing::internal::GetCapturedStdout();
    errors = testing::internal::GetCapturedStderr();
    text = sw.printed;
}

std::uint32_t Story::run(EntryPoint entry_point) {
    watch([&] { status = entry_point(&req); });
    return status;
}

std::uint32_t Story::generate(std::uint32_t cfg_source) {
    watch([&] { status = qarn_generate(&req, cfg_source); });
    return status;
}

std::string Story::header() const {
    return "\n!Command: " + std::string(req.cmd_line) + "\n!Time: " + kNowText + "\nversion " + *sw.version + "\n";
}

std::string Story::body() const {
    const std::string head = header();
    if (text.compare(0, head.size(), head) != 0 || text.back() != '\n') return "no whole output: " + text;
    return text.substr(head.size(), text.size() - head.size() - 1);
}

void Story::add_token(std::uint32_t id, void *value, std::uint32_t type) {
    tokens_.push_back({id, type, {0, 0}, value});
    req.tokens[req.num_tokens++] = &tokens_.back();
}

void Story::add_ranges_token(const std::vector<std::pair<std::int32_t, std::int32_t>> &ranges) {
    std::vector<std::uint32_t> &words = words_.emplace_back();
    words = {0, static_cast<std::uint32_t>(ranges.size())};
    for (const auto &[low, high] : ranges) {
        words.push_back(static_cast<std::uint32_t>(low));
        words.push_back(static_cast<std::uint32_t>(high));
    }
    add_token(0, words.data());
}

void Story::add_sap_token(std::uint32_t sap) {
    add_token(0, words_.emplace_back(1, sap).data());
}

void Story::add_text_token(std::string_view value) {
    add_token(0, texts_.emplace_back(value).data());
}

void Story::save_startup(std::string_view ascii_text) {
    if (store_.empty()) {
        std::string path = testing::TempDir() + "storeXXXXXX";
        store_ = mkdtemp(path.data());
        std::filesystem::create_directory(store_ / "bin");
    }
    std::ofstream(store_ / "system.cfg") << ascii_text;
    std::ofstream(store_ / "bin" / "vlan.bin") << "saved";
    sw.ascii_startup_dir = store_;
    sw.bin_startup_dir = store_ / "bin";
}

sim::Interface &Story::add_interface(std::uint32_t index, std::string name, std::uint32_t block) {
    sim::Interface &added = sw.interfaces.emplace_back();
    added.index = index;
    added.name = std::move(name);
    added.block = block;
    return added;
}

const qarn_cfg_req_msg &Story::sent_request(std::size_t position) const {
    return *reinterpret_cast<const qarn_cfg_req_msg *>(sw.transport.sent.at(position).payload.data());
}

std::vector<std::uint32_t> Story::asked() const {
    std::vector<std::uint32_t> asked;
    for (const auto &sent : sw.transport.sent)
        asked.push_back(sent.sap);
    return asked;
}

std::vector<std::string> Story::calls_of(std::string_view function) const {
    std::vector<std::string> found;
    for (const std::string &call : sw.calls) {
        if (call.compare(0, function.size(), function) == 0 && call[function.size()] == '(') found.push_back(call);
    }
    return found;
}

Tlv line(std::uint32_t uuid, std::string_view text, std::uint32_t level) {
    return Tlv().element({.uuid = uuid, .elem_id = 1, .level = level}).text(text);
}

void start_generation(qarn_req *req) {
    qarn_merge_init(req);
    init_queue(&intf_element_q);
    init_queue(&keystr_element_q);
}

qarn_elem *store_element(const sim::ElementInfo &info, std::string_view own_text) {
    qarn_elem *elem = qarn_elem_info_create(info.uuid, info.elem_id, info.level, info.property);
    elem->val_type = info.val_type;
    g_string_append_len(elem->cfg_str, own_text.data(), static_cast<gssize>(own_text.size()));
    qarn_merge_hash_insert(info.uuid, elem, merge_elem_table_p);
    return elem;
}

void add_intf_text(qarn_elem *elem, std::uint32_t if_index, std::string_view text) {
    auto *key = static_cast<std::uint32_t *>(std::malloc(sizeof if_index));
    *key = if_index;
    g_hash_table_insert(elem->ifindex_table, key, g_string_new_len(text.data(), static_cast<gssize>(text.size())));
}

void add_dependency(qarn_elem *elem, std::uint32_t uuid, std::uint32_t elem_id, std::uint32_t dep_type) {
    elem->dep_list = qarn_elem_dependency_create(uuid, elem_id, dep_type, elem->dep_list);
}

} // namespace test
