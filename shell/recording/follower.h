// Follows a command in its process: records it, or compares it with the recording that is replayed.
#pragma once

#include <optional>

#include "explain/recording/recorder.h"
#include "shell/request.h"
#include "sim/observer.h"
#include "sim/switch.h"

namespace shell {

// The digest of what is printed.
class Printed : public sim::Observer {
  public:
    void printed(const char *, const char *, std::string_view text) override { digest_.add(text); }
    void rendered(std::string_view) override {}
    void sent(uint32_t, uint32_t, const sim::Bytes &) override {}
    void received(const sim::Message &) override {}
    void received_nothing(int) override {}

    const explain::recording::Digest &digest() const { return digest_; }

  private:
    explain::recording::Digest digest_;
};

class Follower {
  public:
    // Both must live longer.
    Follower(sim::Switch &sw, const Request &request);

    // To be called when the command has ended with this exit code. Returns it, or a worse one after a message.
    int finish(int code);

  private:
    int write_recording(int code);

    sim::Switch &sw_;
    const Request &request_;
    std::optional<explain::recording::Recorder> recorder_;
    std::optional<Printed> printed_;
};

} // namespace shell
