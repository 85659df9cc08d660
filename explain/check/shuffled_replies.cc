#include "explain/check/shuffled_replies.h"

#include <qarncli/message.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <utility>

#include "sim/reply.h"

namespace explain {

ShuffledReplies::ShuffledReplies(std::vector<uint32_t> consumers, const Replies &replies,
                                 const std::vector<uint32_t> &first, uint32_t seed)
    : consumers_(std::move(consumers)), dice_(seed) {
    constexpr std::size_t kSmallest = 32, kLargest = 8192; // bytes of a fragment
    std::map<uint32_t, std::deque<sim::Message>> by_sap;
    for (const auto &[sap, reply] : replies)
        std::ranges::move(sim::fragments(sap, reply, kSmallest + dice_() % (kLargest - kSmallest)),
                          std::back_inserter(by_sap[sap]));
    streams_.reserve(by_sap.size());
    for (auto &[sap, stream] : by_sap) {
        if (std::ranges::find(first, sap) == first.end()) {
            streams_.push_back(std::move(stream));
        } else {
            std::ranges::move(stream, std::back_inserter(first_));
        }
    }
}

std::vector<uint32_t> ShuffledReplies::consumers(uint32_t opcode) {
    return opcode == QARN_OPC_REQUEST ? consumers_ : std::vector<uint32_t>();
}

sim::Carrier::Arrival ShuffledReplies::receive(sim::Transport::Endpoint &, uint32_t opcode, uint32_t) {
    if (opcode != QARN_OPC_REPLY || (first_.empty() && streams_.empty())) return {ETIME, {}};
    auto &stream = first_.empty() ? streams_[dice_() % streams_.size()] : first_;
    Arrival arrival = {0, std::move(stream.front())};
    stream.pop_front();
    std::erase_if(streams_, [](const auto &one) { return one.empty(); });
    return arrival;
}

} // namespace explain
