// The replies of a command once more, in another order and cut in another way.
#pragma once

#include <cstdint>
#include <deque>
#include <random>
#include <vector>

#include "explain/check/trial.h"
#include "sim/mts.h"

namespace explain {

// Carries replies to whoever asks. The fragments of each service stay in order, as on every transport.
class ShuffledReplies : public sim::Carrier {
  public:
    // What comes from `first`, which are SAPs, arrives before all else.
    ShuffledReplies(std::vector<uint32_t> consumers, const Replies &replies, const std::vector<uint32_t> &first,
                    uint32_t seed);

    std::vector<uint32_t> consumers(uint32_t opcode) override;
    int send(uint32_t, uint32_t, const sim::Bytes &) override { return 0; }
    Arrival receive(sim::Transport::Endpoint &, uint32_t opcode, uint32_t) override;

  private:
    const std::vector<uint32_t> consumers_;
    std::mt19937 dice_;
    std::deque<sim::Message> first_;
    std::vector<std::deque<sim::Message>> streams_; // one for each service; none of them empty
};

} // namespace explain
