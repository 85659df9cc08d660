// Gives a command what an earlier one has received, with no service, store or shared library: the messages of its
// services in the order in which they arrived, and what it learned elsewhere.
#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "explain/recording/recording.h"
#include "explain/recording/saved_text.h"
#include "sim/facts.h"
#include "sim/mts.h"
#include "sim/switch.h"

namespace explain::recording {

enum class Pace { kFull, kRecorded };

class Replay : public sim::Carrier, public sim::Facts {
  public:
    Replay(std::shared_ptr<const Recording> recording, Pace pace);

    void begin() override;
    std::vector<uint32_t> consumers(uint32_t opcode) override;
    int send(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) override;
    Arrival receive(sim::Transport::Endpoint &endpoint, uint32_t opcode, uint32_t timeout) override;
    std::string why_not_sent() const override;
    std::string why_silent(uint32_t sap) const override;

    sim::Fact next(sim::FactKind kind) override;
    std::string text_folder() const override { return saved_text_ ? saved_text_->folder() : ""; }
    std::optional<std::time_t> time() const override { return time_; }

  private:
    using Clock = std::chrono::steady_clock;

    void take(const Event &event);
    void take_fact(const Event &event);
    void take_time(const Event &event);
    std::chrono::nanoseconds time_of(const Event &event) const;
    static void wait_until(Clock::time_point end);

    const std::shared_ptr<const Recording> recording_;
    const Pace pace_;
    std::vector<const Event *> arrivals_;
    std::vector<int> errors_of_sends_;
    std::map<uint32_t, std::vector<const Event *>> facts_; // by what they say
    std::optional<SavedText> saved_text_;
    std::optional<std::time_t> time_;
    std::string zone_; // in which the time was printed

    std::size_t next_arrival_ = 0, next_send_ = 0;
    std::map<sim::FactKind, std::size_t> next_fact_;
    Clock::time_point begin_;
};

// The switch of a recording, without what answers for it. Throws Error.
std::unique_ptr<sim::Switch> switch_of(const Recording &recording);

// Let the next command of the switch receive what is in the recording. The events may be others than those that were
// recorded, in another order.
void replay_on(sim::Switch &sw, std::shared_ptr<const Recording> recording, Pace pace);

} // namespace explain::recording
