// The library's request for one command, together with everything that it points to.
#pragma once

#include <qarncli/qarncli.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "explain/recording/recording.h"
#include "sim/cmdshell.h"
#include "sim/switch.h"

namespace shell {

using EntryPoint = uint32_t (*)(qarn_req *);

struct Ran {
    uint32_t status; // of the entry point
    int code;        // exit code of what was done besides
};
// Calls the entry point, and does something with what it prints.
using Runner = std::function<Ran(sim::Switch &sw, EntryPoint entry, qarn_req &req)>;

// Where a command is recorded, and as what.
struct Recorded {
    explain::recording::Command command;
    int descriptor = -1;
};

class Request {
  public:
    explicit Request(std::string_view display);
    ~Request() = default;
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    const std::string line; // the display as a command
    qarn_req req = {};
    sim::ShellOptions options; // in effect while the command runs
    // What of the display is its text.
    bool has_header = true;
    bool has_messages = true; // those before the header; otherwise they go to standard error
    Runner runner;            // none: the entry point prints its text
    // An interruption ends the waits for services, not the command: the runner shows what has arrived.
    bool outlives_interruption = false;

    std::optional<Recorded> recorded;                        // none: it is not recorded
    const explain::recording::Recording *replayed = nullptr; // that must print the same; null: none

    void add_token(uint32_t id);
    void add_name(const std::string &name);
    void add_sap(uint32_t sap);
    void add_ranges(const std::vector<std::pair<uint32_t, uint32_t>> &ranges, uint32_t type = 0);

  private:
    struct Token {
        qarn_req_token token;
        std::vector<uint32_t> words;
        std::string text;
    };
    Token &add(uint32_t type);

    std::deque<Token> tokens_; // req points to the elements, which a deque never moves
};

} // namespace shell
