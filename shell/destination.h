// Where the text of a command goes at last: a file or a pipe, or a screen with a pager.
#pragma once

#include <memory>

#include "shell/stages.h"

namespace shell {

class Destination : public Stage {
  public:
    // Write what has been taken, and wait until there is input or nothing reads the destination any more.
    virtual void wait(int input) = 0;
    // Whether nothing reads it, or it cannot be written.
    virtual bool is_over() const = 0;
    // After finish(): wait for the pager. Returns the exit code of the process.
    virtual int close() = 0;
};

// The exit code of a process whose pager ended before the text.
constexpr int kPagerEnded = 3;

std::unique_ptr<Destination> plain_destination(int descriptor);
// Standard output, a terminal. A text that is longer than the screen goes to a pager.
std::unique_ptr<Destination> paged_screen();

bool has_input(int descriptor);

} // namespace shell
