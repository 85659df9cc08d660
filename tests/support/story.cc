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

uint32_t Story::run(EntryPoint entry_point) {
    watch([&] { status = entry_point(&req); });
    return status;
}

uint32_t Story::generate(uint32_t cfg_source) {
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

void Story::add_token(uint32_t id, void *value, uint32_t type) {
    tokens_.push_back({id, type, {0, 0}, value});
    req.tokens[req.num_tokens++] = &tokens_.back();
}

void Story::add_ranges_token(const std::vector<std::pair<int32_t, int32_t>> &ranges) {
    std::vector<uint32_t> &words = words_.emplace_back();
    words = {0, static_cast<uint32_t>(ranges.size())};
    for (const auto &[low, high] : ranges) {
        words.push_back(static_cast<uint32_t>(low));
        words.push_back(static_cast<uint32_t>(high));
    }
    add_token(0, words.data());
}

void Story::add_sap_token(uint32_t sap) {
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

sim::Interface &Story::add_interface(uint32_t index, std::string name, uint32_t block) {
    sim::Interface &added = sw.interfaces.emplace_back();
    added.index = index;
    added.name = std::move(name);
    added.block = block;
    return added;
}

const qarn_cfg_req_msg &Story::sent_request(std::size_t position) const {
    return *reinterpret_cast<const qarn_cfg_req_msg *>(sw.transport.sent.at(position).payload.data());
}

std::vector<uint32_t> Story::asked() const {
    std::vector<uint32_t> asked;
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

Tlv line(uint32_t uuid, std::string_view text, uint32_t level) {
    return Tlv().element({.uuid = uuid, .elem_id = 1, .level = level}).text(text);
}

void start_generation(qarn_req *req) {
    qarn_merge_init(req);
    init_queue(&intf_element_q);
    init_queue(&keystr_element_q);
}

} // namespace test
