#include "shell/explain/sides.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "explain/diff/parts.h"
#include "explain/recording/file.h"
#include "shell/answer.h"
#include "shell/command_error.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/forms.h"
#include "shell/message.h"
#include "shell/recording/replay.h"
#include "shell/run.h"
#include "sim/notation.h"

namespace shell {
namespace {

constexpr char kRunning[] = "show running-config", kStartup[] = "show startup-config";

Options options_of(Options options, const explain::recording::Recording &recording) {
    take_recorded(recording.command, options);
    return options;
}

// The session of a recording takes the place of another one, until the end of the scope.
class ReplacedSession {
  public:
    ReplacedSession(Session &session, const std::shared_ptr<const explain::recording::Recording> &recording)
        : replaced_(session), options_(options_of(session.options(), *recording)), session_(options_, recording) {}
    ~ReplacedSession() {
        sim::make_current(&replaced_.current());
        setenv("SYSMGR_VDC_ID", std::to_string(replaced_.current().vdc).c_str(), 1);
    }
    ReplacedSession(const ReplacedSession &) = delete;
    ReplacedSession &operator=(const ReplacedSession &) = delete;

    Session &session() { return session_; }

  private:
    Session &replaced_;
    const Options options_; // the session refers to them
    Session session_;
};

int show_parts(const explain::Subject &subject) {
    const explain::Origins origins = explain::find_origins(subject);
    if (std::ranges::find(origins.pieces, explain::Rule::kSavedText, &explain::Piece::rule) != origins.pieces.end()) {
        print_message("was saved as a text, without elements; compare it with --text");
        return kExitFailure;
    }
    const std::string bytes = packed(parts_of(subject, origins));
    const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
    return is_written ? kExitComplete : kExitFailure;
}

int write_display(Session &session, const std::string &display, Side::What what, int descriptor,
                  const Deadline &deadline) {
    const Line line = match(display);
    const EntryPoint entry = entry_of(*line.form, *line.display);
    if (entry == qarn_cli_run_cfg_gen_vdcall || entry == qarn_startup_cfg_modlist_get)
        throw CommandError("\"diff\" cannot compare " + sim::quoted(display));
    Request request(display);
    fill_request(session, line, request);
    request.has_header = false;
    request.has_messages = false;
    if (what == Side::What::kParts) request.runner = explained_by(show_parts);
    return run_command(session.current(), entry, request, {}, descriptor, deadline);
}

std::shared_ptr<const explain::recording::Recording> recording_named(const std::string &name, std::string_view where) {
    std::error_code error;
    if (!std::filesystem::exists(name, error))
        throw CommandError("needs \"running\", \"startup\" or the file of a recording, not " + sim::quoted(name),
                           where);
    try {
        return std::make_shared<explain::recording::Recording>(explain::recording::read_recording(name));
    } catch (const explain::recording::Error &failure) {
        throw CommandError("cannot read " + sim::printable(name) + ": " + sim::printable(failure.what()), where);
    }
}

} // namespace

Side::Side(const std::string &name, std::string_view where) : name_(name) {
    const bool is_running = name == "running" || name == "running-config";
    if (is_running || name == "startup" || name == "startup-config") {
        display_ = is_running ? kRunning : kStartup;
        return;
    }
    recording_ = recording_named(name, where);
    if (recording_->command.is_masked)
        throw CommandError("the texts of a masked recording are not those of the switch", where);
    const std::string &display = recording_->command.display;
    for (const std::string begin : {kRunning, kStartup})
        if (display.starts_with(begin)) display_ = begin;
    if (display_.empty()) throw CommandError("the recording is of " + sim::quoted(display), where);
    form_ = display.substr(display_.size());
}

int Side::write(Session &session, const std::string &form, What what, int descriptor, const Deadline &deadline) const {
    if (recording_ && session.options().mask) throw CommandError(kNoMask);
    const Subject subject(name_);
    if (!recording_) return write_display(session, display_ + form, what, descriptor, deadline);
    try {
        ReplacedSession replaced(session, recording_);
        return write_display(replaced.session(), display_ + form, what, descriptor, deadline);
    } catch (const explain::recording::Error &error) {
        print_message("%s", sim::printable(error.what()).c_str());
        return kExitFailure;
    }
}

} // namespace shell
