#include "shell/recording/recording_file.h"

#include <sys/stat.h>

#include "shell/exit_code.h"
#include "shell/words.h"

namespace shell {
namespace {

// As it was typed. What writes a file is left out: a replay must not write that file again.
std::string recorded_line(const std::string &typed, const Line &line) {
    if (!line.is_saved() && !line.is_page()) return std::string(without_blanks_around(typed));
    const std::string_view save = parts_of(typed).back();
    const auto end = static_cast<std::size_t>(save.data() - typed.data()) - 1; // the bar
    return std::string(without_blanks_around(std::string_view(typed).substr(0, end)));
}

bool is_empty(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) != 0 || status.st_size == 0;
}

} // namespace

RecordingFile::RecordingFile(Session &session, const Line &line, Request &request) : file_(session.options().record) {
    request.recorded.emplace();
    request.recorded->descriptor = file_.descriptor();
    explain::recording::Command &command = request.recorded->command;
    command.line = recorded_line(session.options().commands.front(), line);
    command.display = request.line;
    command.has_header = request.has_header;
    command.options = request.options;
    command.debug_mask = request.req.dbg_mask;
    command.hides_secrets = session.current().hides_secrets;
    command.has_unknown_interfaces = session.current().has_unknown_interfaces;
    command.is_masked = session.options().mask;
}

int RecordingFile::publish(int result) {
    constexpr int kSignals = 128; // from here on, a process has ended early
    if (result >= kSignals || is_empty(file_.descriptor())) {
        file_.report_withheld();
        return result >= kSignals ? result : worse_of(result, kExitFailure);
    }
    file_.publish();
    return result;
}

} // namespace shell
