// What services answer: bytes become the replies of up to six services, cut into fragments whose headers may lie, in
// any interleaving; then a whole command runs on them, through the reply table, the decoder, every ordering pass and
// every printer.
// The bytes of a recording become the replies in it.
//
// The length of a fragment's data stays right, because the transport knows it. The TLV array's own size stays within
// the reply, because the platform's reader trusts it; only fragments out of order put other bytes in its place.
#include <qarncli/qarncli.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "explain/recording/file.h"
#include "fuzz/input.h"
#include "sim/cmdshell.h"
#include "sim/reply.h"

namespace {

constexpr uint32_t kFirstSap = 20;
constexpr std::size_t kMostServices = 6;
constexpr std::size_t kSizeWordAt = 8; // of a reply: status, number of TLVs, size of the array

struct Answer {
    std::deque<sim::Message> fragments;
};

void keep_size_right(sim::Bytes &reply, uint32_t total_len) {
    if (reply.size() < kSizeWordAt + 4) return;
    uint32_t size = 0;
    std::memcpy(&size, reply.data() + kSizeWordAt, sizeof size);
    const uint32_t room = std::max(total_len, 4u) - 4;
    size = std::min({size, room, static_cast<uint32_t>(reply.size() - 4)});
    std::memcpy(reply.data() + kSizeWordAt, &size, sizeof size);
}

// The length that the service announces for its reply.
uint32_t announced(uint8_t lie, std::size_t size) {
    const auto length = static_cast<uint32_t>(size);
    switch (lie % 8) {
        case 1:
            return length + 1u + lie;
        case 2:
            return length > lie ? length - lie : 0;
        case 3:
            return lie % 5;
        default:
            return length;
    }
}

Answer read_answer(fuzz::Input &input, uint32_t sap) {
    const std::size_t fragment_size = 1 + input.byte() * 4u;
    const uint8_t lie = input.byte(), last = input.byte();
    sim::Bytes reply(last % 16 == 1 ? "\1\0\0\0" : "\0\0\0\0", 4);
    reply += input.bytes(input.word16());
    const uint32_t total_len = announced(lie, reply.size());
    keep_size_right(reply, total_len);
    Answer answer{sim::fragments(sap, reply, fragment_size, total_len)};
    if (last % 16 == 2) answer.fragments.pop_back();                // never ends
    if (last % 16 == 3) answer.fragments.front().payload[0] = '\1'; // ends early, and goes on
    if (last % 16 == 4) answer.fragments.push_front(answer.fragments.back());
    return answer;
}

// Nothing if the bytes are no recording.
std::vector<sim::Bytes> replies_in_recording(const uint8_t *data, std::size_t size) {
    std::map<uint32_t, sim::Bytes> by_sap;
    std::FILE *const file = fmemopen(const_cast<uint8_t *>(data), size, "rb");
    if (file == nullptr) return {};
    try {
        for (const auto &event : explain::recording::read_recording(file).events)
            if (event.kind == explain::recording::Kind::kMessage)
                by_sap[event.sap] += event.data.substr(sizeof(qarn_cfg_frag));
    } catch (const explain::recording::Error &) {
        return {};
    }
    std::vector<sim::Bytes> replies;
    replies.reserve(by_sap.size());
    for (auto &[sap, reply] : by_sap)
        replies.push_back(std::move(reply));
    return replies;
}

Answer answer_with(uint32_t sap, sim::Bytes reply) {
    const auto length = static_cast<uint32_t>(reply.size());
    keep_size_right(reply, length);
    return {sim::fragments(sap, reply, 64, length)};
}

void deliver(sim::Switch &sw, uint32_t handle, std::vector<Answer> answers, uint32_t order) {
    while (!answers.empty()) {
        const std::size_t at = order % answers.size();
        order = order * 1664525u + 1013904223u;
        auto &fragments = answers[at].fragments;
        if (!fragments.empty()) {
            sw.transport.deliver(handle, QARN_OPC_REPLY, std::move(fragments.front().payload));
            fragments.pop_front();
        }
        if (fragments.empty()) answers.erase(answers.begin() + static_cast<std::ptrdiff_t>(at));
    }
}

void add_interfaces(fuzz::CurrentSwitch &sw) {
    for (uint32_t index = 1; index <= 4; ++index)
        sw.add_interface(index, "e" + std::to_string(index), index < 3 ? 1 : 20);
    sw.interfaces.back().members = {1, 2};
    sw.interfaces.front().port_profile = "p";
    sw.port_profiles["p"] = "  inherited\n";
    sw.switch_profile = {0, "head\n", "  body\n"};
}

// The view, the shell's options and the request's fields.
qarn_req read_request(fuzz::Input &input, fuzz::CurrentSwitch &sw) {
    const uint8_t display = input.byte(), options = input.byte(), traces = input.byte();
    cfg_display = display % 18;
    sim::set_shell_options({.filter_mode = (options & 1) != 0 ? 0x48u : 0,
                            .generic_option = (options & 8) != 0 ? uint32_t{QARN_OPTION_CHECKPOINT} : 0});
    if ((options & 16) != 0) cmd_token_id = QARN_TOKEN_MEMBERSHIP;
    qarn_req req = sw.accepted_request();
    if ((options & 32) != 0) req.dbg_mask = traces & ~uint32_t{QARN_DEBUG_NO_TIMEOUT}; // a command must end
    if ((options & 64) != 0) req.sap = kFirstSap;
    fuzz::select_every_vsan(req);
    return req;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::CurrentSwitch sw;
    sw.version = "1";
    add_interfaces(sw);
    qarn_req req = read_request(input, sw);
    const uint32_t order = input.word();

    const std::vector<sim::Bytes> recorded = replies_in_recording(data, size);
    const auto has_more = [&](std::size_t i) { return recorded.empty() ? !input.empty() : i < recorded.size(); };
    std::vector<Answer> answers;
    while (has_more(answers.size()) && answers.size() < kMostServices) {
        const auto sap = kFirstSap + static_cast<uint32_t>(answers.size());
        sw.service("service", sap, sap).silent();
        answers.push_back(recorded.empty() ? read_answer(input, sap) : answer_with(sap, recorded[answers.size()]));
    }
    deliver(sw, req.mts_handle, std::move(answers), order);
    qarn_generate(&req, QARN_SOURCE_RUNNING);
    return 0;
}
