// A display that is run once more with replies that are known by then. The library keeps much from one command to the
// next, so each trial is a process of its own, which is forked before the command.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace explain {

using Replies = std::vector<std::pair<uint32_t, std::string>>; // complete ones by SAP, in order

class Trial {
  public:
    // Forks a process that waits for replies, and then returns what the display prints with them.
    explicit Trial(const std::function<std::string(const Replies &)> &display);
    ~Trial();
    Trial(const Trial &) = delete;
    Trial &operator=(const Trial &) = delete;

    // Can be called once. Throws std::runtime_error if the process has failed.
    std::string text(const Replies &replies) const;

  private:
    pid_t process_ = -1;
    int socket_ = -1; // of this end
};

} // namespace explain
