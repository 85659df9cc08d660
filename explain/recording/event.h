// What a recording keeps of one command, event by event. docs/recordings.md has the format of the file.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "sim/facts.h"

namespace explain::recording {

enum class Kind : uint8_t {
    kCommand = 1,     // the command and its options
    kDescription = 2, // of the switch, as YAML
    kRequest = 3,     // a message to a service
    kMessage = 4,     // a message from a service
    kNothing = 5,     // a send that failed, or a receive that ended without a message; the value is an errno
    kFact = 6,        // something that was learned elsewhere; the opcode says what (see FactOf)
    kEnd = 7          // the value is the exit code of the command
};

enum class Direction : uint8_t { kNone = 0, kToServices = 1, kFromServices = 2 };

// Facts besides those of sim::FactKind.
enum FactOf : uint32_t {
    kTimeOfHeader = 100, // the text after "!Time: "
    kReasonOfSilence,    // why the service sent no complete reply
    kReasonNotSent       // why the request was not sent
};

struct Event {
    Kind kind;
    Direction direction = Direction::kNone;
    uint32_t sap = 0, opcode = 0, value = 0;
    uint64_t time = 0; // nanoseconds since 1970
    std::string data = {};
    bool operator==(const Event &) const = default;
};

Event event_of(const sim::Fact &fact);
sim::Fact fact_of(const Event &event);

// What the display printed, not counting what other programs did.
class Digest {
  public:
    void add(std::string_view text);
    uint64_t size() const { return size_; }
    uint64_t sum() const { return sum_; }
    bool operator==(const Digest &) const = default;
    static Digest of(uint64_t size, uint64_t sum);

  private:
    uint64_t size_ = 0, sum_ = 0xcbf29ce484222325; // FNV-1a
};

// A file that is no recording, or not a whole one; what() is the reason, without the name of the file.
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

} // namespace explain::recording
