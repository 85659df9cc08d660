// A whole recording of one command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "explain/recording/event.h"
#include "sim/cmdshell.h"

namespace explain::recording {

struct Command {
    std::string line;    // as it was typed, with filters
    std::string display; // whose text was printed
    bool has_header = true;
    sim::ShellOptions options = {};
    uint32_t debug_mask = 0;
    bool hides_secrets = false;
    bool has_unknown_interfaces = false; // as in sim::Switch
    bool is_masked = false;              // letters and digits of the texts are replaced
};

struct Recording {
    Command command;
    std::string description;
    std::vector<Event> events;    // all others but the end
    std::optional<Digest> digest; // none: of a masked text
    uint32_t exit_code = 0;

    bool is_equal_to(const Digest &other) const { return !digest || *digest == other; }
};

std::string text_of(const Command &command);
// Throws Error.
Command command_in(std::string_view text);

} // namespace explain::recording
