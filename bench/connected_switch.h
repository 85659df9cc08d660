// A described switch whose services are processes behind a NATS server, and the texts that it shows.
#pragma once

#include <string>

#include "bench/run.h"

namespace bench {

class ConnectedSwitch {
  public:
    // Starts switchd of the build folder.
    ConnectedSwitch(const std::string &build, const std::string &description);

    // A shell that is connected to the switch, or has it in its own process, and runs the command.
    Words connected(const std::string &command) const;
    Words in_process(const std::string &command) const;

  private:
    std::string shell_, description_;
    Server server_;
    Words connect_;
};

// The text in the file, without the time of the command.
std::string text_of(const std::string &path);
// The text that a command prints.
std::string printed_by(const Words &words);

} // namespace bench
