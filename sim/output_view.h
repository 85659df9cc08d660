// Which texts of a display go to the output. A display begins with messages on services that do not answer; a header
// follows with the command, the time and when the configuration was saved; then comes the configuration.
#pragma once

#include <cstdint>
#include <string_view>

namespace sim {

class OutputView {
  public:
    bool hides_header = false;
    bool puts_messages_apart = false; // on standard error, if they come before the header

    // kAfterHeader: to the output as well, without the empty line that divides it from a hidden header.
    enum class Target : uint8_t { kOutput, kAfterHeader, kStandardError, kNowhere };
    // Where the text of the next call of the output routine goes. The format tells the texts apart: a service's text
    // may look like a header, but is never a format.
    Target target_of(std::string_view format);

  private:
    void advance(std::string_view format);

    enum class State : uint8_t { kMessages, kCommand, kTime, kSaved, kConfiguration }; // of the last text
    State state_ = State::kMessages;
};

} // namespace sim
