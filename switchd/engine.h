// A nats-server of switchd's own.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "switchd/folder.h"
#include "switchd/process.h"

namespace switchd {

class Engine {
  public:
    // Its configuration is in the folder, which must live longer. Returns when the server is ready. Throws nats::Error.
    explicit Engine(const Folder &folder);
    ~Engine();
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    pid_t pid() const { return pid_; }
    uint16_t port() const { return port_; }
    int log() const { return log_.get(); }
    // Read what is there of the log, and report errors in it. Returns false at its end.
    bool read_log();
    void has_ended(); // somebody else waited for it

  private:
    void stop();
    void wait_until_ready();
    void take_lines();
    void take(const std::string &line);

    const Folder &folder_;
    pid_t pid_ = -1;
    uint16_t port_ = 0;
    bool is_ready_ = false;
    Descriptor log_;
    std::string rest_, error_; // of the log: the line that is not whole; its last error
};

} // namespace switchd
