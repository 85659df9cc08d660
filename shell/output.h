// What happens to the text of a command between the command and its destination.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "shell/filter.h"
#include "shell/stages.h"

namespace shell {

struct Line;
struct Options;

struct Output {
    std::vector<Filter> filters;
    std::optional<std::string> file; // replaces it; none: standard output
    Looks looks;
    bool has_pager = false; // if the text is longer than the screen
    std::size_t marks = 0;  // columns before each line that belong to no line of a configuration
    int outcome = -1;       // descriptor that also gets the outcome of the command, as members of a JSON object

    // Whether a process of its own passes the text on.
    bool has_work() const;
};

Output output_of(const Line &line, const Options &options);

// Pass on the text that can be read from a descriptor until it ends or nothing reads the output any more. Returns the
// exit code of this process: kExitComplete, kExitFailure after a message, kExitBrokenPipe or kPagerEnded.
int pass_on(int input, const Output &output, int descriptor);

} // namespace shell
