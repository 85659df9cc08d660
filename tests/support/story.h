// The fixture of nearly all tests: a simulated switch whose services a test describes, a request as the shell builds
// it, and what came out of a command. A test reads: given these services, when this command runs, then this text.
#pragma once

#include <gtest/gtest.h>
#include <qarncli/qarncli.h>

#include <deque>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "sim/switch.h"
#include "support/interpose.h"

namespace test {

using sim::Tlv;

// 2026-03-01 12:00:00 UTC, at which the tests' clock is stopped.
inline constexpr long kNow = 1772366400;
inline constexpr char kNowText[] = "Sun Mar  1 12:00:00 2026\n";

class Story : public testing::Test {
  protected:
    Story();
    ~Story() override;

    using EntryPoint = uint32_t (*)(qarn_req *);

    // Run one command and keep what it printed in `text`, its traces in `traces`, and its standard error in `errors`.
    uint32_t run(EntryPoint entry_point = qarn_cli_run_cfg_gen);
    // The driver itself, for its whole status where the entry points return 0 or 1.
    uint32_t generate(uint32_t cfg_source = QARN_SOURCE_RUNNING);
    // The same around any call.
    void watch(const std::function<void()> &call);

    // The command, time and version lines.
    std::string header() const;
    // `text` below the header, without the closing newline.
    std::string body() const;

    // Tokens of the request. Values stay alive as long as the fixture.
    void add_token(uint32_t id, void *value = nullptr, uint32_t type = 0);
    void add_ranges_token(const std::vector<std::pair<int32_t, int32_t>> &ranges);
    void add_sap_token(uint32_t sap);
    void add_text_token(std::string_view value);

    // A saved configuration: its ASCII text and a binary store. Removed with the fixture.
    void save_startup(std::string_view ascii_text = "");

    // Interfaces of the switch, in display order.
    sim::Interface &add_interface(uint32_t index, std::string name, uint32_t block);

    // The request message as it was sent, `position` counting the sends of one command.
    const qarn_cfg_req_msg &sent_request(std::size_t position = 0) const;
    // SAPs that the request was sent to, in order; 0 is the broadcast.
    std::vector<uint32_t> asked() const;
    // Recorded calls of one platform function.
    std::vector<std::string> calls_of(std::string_view function) const;

    sim::Switch sw;
    qarn_req req = {};
    std::string text, traces, errors;
    uint32_t status = 0;

  private:
    StoppedClock clock_;
    std::deque<qarn_req_token> tokens_;
    std::deque<std::vector<uint32_t>> words_;
    std::deque<std::string> texts_;
    std::filesystem::path store_;
};

// What a service with one element (uuid, 1) says.
Tlv line(uint32_t uuid, std::string_view text, uint32_t level = 3);

// The element store, its tables and the queues as at the start of a generation, for tests of one room.
void start_generation(qarn_req *req);

} // namespace test
