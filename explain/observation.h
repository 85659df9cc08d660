// What passed between the library and the switch during one command.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "explain/stream.h"
#include "sim/observer.h"
#include "sim/switch.h"

namespace explain {

using Clock = std::chrono::steady_clock;

// One call of the output routine. The library does not report what it prints; the format and the library's globals at
// the time of the call do.
struct Printed {
    enum class Form : uint8_t {
        kText,          // "%s"
        kHeader,        // of the display: command, time, version
        kInterfaceLine, // before an interface's block
        kVlanLine,      // before a group of VLANs
        kKeyHeader,     // before the key strings that are filed under it
        kBody,          // "%s", the text collected for an interface, or what the platform made of it
        kCommand,       // a rendered command message
        kNewline,
        kSwitchProfile,
        kSavedText, // printed by a program
        kOther
    };
    Form form;
    bool was_converting;   // the display conversion was open
    Key printing;          // the element that the library prints, or printed last
    int32_t vlan;          // of a VLAN line or text: the first of the group
    std::size_t size;      // of the text, in bytes
    std::size_t collected; // of a body: its first bytes that are the whole text collected for the interface
    const char *argument;  // of "%s"; to be compared, not to be read
};

// What came from one service.
struct Answer {
    uint32_t sap = 0;
    std::vector<std::string> replies; // complete ones, in the order of their last fragments
    std::string rest;                 // of a reply without a last fragment
    std::size_t fragments = 0, bytes = 0;
    Clock::time_point first, last;            // of the fragments
    std::optional<Clock::time_point> decoded; // the last complete reply
};

class Observation : public sim::Observer {
  public:
    void printed(const char *format, const char *argument, std::string_view text) override;
    void program_printed(std::string_view text) override;
    void rendered(std::string_view text) override;
    void sent(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) override;
    void receives() override { end_decoding(); }
    void received(const sim::Message &message) override;
    void received_nothing(int error) override;

    const std::vector<Printed> &calls() const { return calls_; }
    const std::string &text() const { return text_; }
    const std::map<uint32_t, Answer> &answers() const { return answers_; }
    bool has_asked(uint32_t sap) const { return asked_.contains(sap); } // by a message
    // Every complete reply with its SAP, in the order in which the library decoded them.
    struct Reply {
        uint32_t sap;
        std::size_t at; // in the answer's replies
    };
    const std::vector<Reply> &replies() const { return replies_; }
    Clock::time_point begin() const { return begin_; }

  private:
    void end_decoding();
    Printed::Form form_of(std::string_view format, const char *argument);
    Printed::Form form_of_text(const char *argument);

    std::vector<Printed> calls_;
    std::string text_;
    std::map<uint32_t, Answer> answers_;
    std::set<uint32_t> asked_;
    std::vector<Reply> replies_;
    Clock::time_point begin_ = Clock::now();
    Answer *decoding_ = nullptr; // whose reply the library decodes
    int32_t next_slot_ = 0;      // of the library's list of key headers
};

} // namespace explain
