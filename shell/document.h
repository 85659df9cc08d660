// What a command shows, as one JSON object: docs/json.md has its members.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "sim/switch.h"

namespace shell {

// What the process of a display writes about its outcome: a line with the time of its header, and members of the
// object.
struct Outcome {
    std::optional<std::time_t> time; // none: it has ended before
    std::string members;
};
std::string text_of(const Outcome &outcome);
Outcome outcome_in(const std::string &text);

class Document {
  public:
    // The answer of a switch to a command, at the given or the present time.
    Document(std::string_view command, const sim::Switch &sw, std::optional<std::time_t> time = {});

    // Add members that are JSON already.
    void add(const std::string &members);
    // Add a configuration as blocks: a line without indentation, and the indented lines after it.
    void add_blocks(std::string_view configuration);
    void add_lines(std::string_view text);
    // The whole object, with the command's exit code and the messages in the log.
    std::string finish(int code);
    std::string finish(int code, bool is_complete);

  private:
    std::string json_; // so far
};

} // namespace shell
