#include "shell/recording/replay.h"

#include <memory>

#include "explain/recording/file.h"
#include "shell/command_error.h"
#include "shell/line.h"
#include "shell/script.h"
#include "sim/notation.h"

namespace shell {
namespace {

using explain::recording::Command;
using explain::recording::Recording;

// A recording may come from anybody. Only the user's own commands may write files.
void check_line(const std::string &text) {
    try {
        const Line line = match(text);
        if (!line.is_saved() && !line.is_page() && line.has_display()) return;
    } catch (const CommandError &) { // the same as a command that shows nothing
    }
    throw explain::recording::Error("its command " + sim::quoted(text) + " does not only show something");
}

} // namespace

void take_recorded(const Command &command, Options &options) {
    options.plain = !command.has_header;
    options.mask = command.hides_secrets;
    options.debug_mask = command.debug_mask;
    options.filter_mode = command.options.filter_mode;
    options.script_mode = command.options.script_mode != 0;
}

int replay(const Options &given) try {
    if (given.mask) throw CommandError(kNoMask);
    Options options = given;
    const auto recording = std::make_shared<const Recording>(explain::recording::read_recording(*options.replay));
    take_recorded(recording->command, options);
    if (options.commands.empty()) {
        check_line(recording->command.line);
        options.commands = {recording->command.line};
    }
    Session session(options, recording);
    return run_commands(session);
} catch (const explain::recording::Error &error) {
    throw CommandError("cannot replay " + sim::printable(*given.replay) + ": " + sim::printable(error.what()));
}

} // namespace shell
