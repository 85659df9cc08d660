#include "shell/recording/replay.h"

#include <memory>

#include "explain/recording/file.h"
#include "shell/command_error.h"
#include "shell/script.h"
#include "sim/notation.h"

namespace shell {
namespace {

using explain::recording::Command;
using explain::recording::Recording;

// What the recorded command was given, instead of what the user or the environment says now.
void take_recorded(const Command &command, Options &options) {
    if (options.commands.empty()) options.commands = {command.line};
    options.plain = !command.has_header;
    options.mask = command.hides_secrets;
    options.debug_mask = command.debug_mask;
    options.filter_mode = command.options.filter_mode;
    options.script_mode = command.options.script_mode != 0;
}

} // namespace

int replay(const Options &given) try {
    Options options = given;
    const auto recording = std::make_shared<const Recording>(explain::recording::read_recording(*options.replay));
    take_recorded(recording->command, options);
    Session session(options, recording);
    return run_commands(session);
} catch (const explain::recording::Error &error) {
    throw CommandError("cannot replay " + sim::printable(*given.replay) + ": " + sim::printable(error.what()));
}

} // namespace shell
