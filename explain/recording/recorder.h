// Keeps what passes between the library and the switch during one command.
#pragma once

#include <string>
#include <vector>

#include "explain/recording/recording.h"
#include "sim/observer.h"
#include "sim/switch.h"

namespace explain::recording {

class Recorder : public sim::Observer {
  public:
    void printed(const char *format, const char *argument, std::string_view text) override;
    void rendered(std::string_view) override {}
    void sent(uint32_t sap, uint32_t opcode, const sim::Bytes &payload) override;
    void send_failed(int error) override;
    void received(const sim::Message &message) override;
    void received_nothing(int error) override;
    void learned(const sim::Fact &fact) override;

    // The time of the display, and what the carrier says of it. To be called when the library has returned.
    void note_time();
    void note_reasons(const sim::Switch &sw);
    // The whole command, masked if it says so; the recorder is empty then.
    Recording take(const sim::Switch &sw, Command command, uint32_t exit_code);
    const Digest &digest() const { return digest_; }

  private:
    void add(Event event);
    void add_reason(FactOf what, uint32_t sap, const std::string &why);

    std::vector<Event> events_;
    Digest digest_;
};

} // namespace explain::recording
