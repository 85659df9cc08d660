#include "shell/answer.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "shell/document.h"
#include "shell/entry_process.h"
#include "shell/exit_code.h"
#include "shell/held_output.h"
#include "shell/json.h"
#include "shell/message.h"
#include "shell/output.h"
#include "shell/recording/recording_file.h"
#include "shell/run.h"

namespace shell {
namespace {

// Where a text goes when it is whole. A file that cannot be written is an error before the command runs.
class Target {
  public:
    Target(const Session &session, Output output)
        : output_(std::move(output)), is_strict_(session.options().fail_partial) {
        if (output_.file) file_.emplace(output_.file);
    }

    // Show the text of a command that has ended. The text of an incomplete one replaces no file, and is not shown if
    // --fail-partial forbids it.
    int take(const HeldOutput &text, int result, const Deadline &deadline) {
        lseek(text.descriptor(), 0, SEEK_SET); // the command has left it at the end
        if (file_ && result == kExitComplete) result = pass_on(text.descriptor(), output_, file_->descriptor());
        const bool is_withheld = result != kExitComplete && (file_ || is_strict_);
        if (is_withheld) (file_ ? *file_ : text).report_withheld();
        if (file_ && !is_withheld) file_->publish();
        return file_ || is_withheld ? result : worse_of(result, show_text(text.descriptor(), output_, deadline));
    }
    int take(const std::string &text, int result, const Deadline &deadline) {
        const HeldOutput held({});
        held.write(text);
        return take(held, result, deadline);
    }

  private:
    Output output_;
    std::optional<HeldOutput> file_;
    bool is_strict_;
};

// The filters of a line before "json", which work on the text of the command.
Output output_before_json(const Line &line) {
    Output output;
    const auto json = std::ranges::find(line.filters, FilterKind::kJson, &Filter::kind);
    output.filters.assign(line.filters.begin(), json);
    return output;
}

Target target_of_document(const Session &session, const Line &line) {
    Output output = output_of(line, session.options());
    output.filters.clear(); // those after "json" concern the destination
    return {session, output};
}

// The text after the filters that come before "json".
std::string filtered(const Line &line, std::string text, std::size_t marks) {
    Output output = output_before_json(line);
    if (output.filters.empty()) return text;
    output.marks = marks;
    const HeldOutput before({}), after({});
    before.write(text);
    pass_on(before.descriptor(), output, after.descriptor());
    return after.contents();
}

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t newline = 0; (newline = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(newline + 1))
        lines.emplace_back(text.substr(0, newline));
    return lines;
}

int show_as_json(Session &session, const Line &line, EntryPoint entry, Request &request, const Deadline &deadline) {
    const HeldOutput text({}), outcome({});
    Output output;
    output.outcome = outcome.descriptor();
    Target target = target_of_document(session, line);
    request.has_header = false; // the object has members for it
    request.has_messages = false;
    const int result = run_command(session.current(), entry, request, output, text.descriptor(), deadline);
    const Outcome reported = outcome_in(outcome.contents());
    Document document(line.text, session.current(), reported.time);
    document.add(reported.members);
    const std::string shown = has_text(result) || line.is_explained ? filtered(line, text.contents(), 0) : "";
    if (line.own_text == OwnText::kTable) {
        document.add(shown);
    } else if (line.own_text == OwnText::kLines) {
        document.add_lines(shown);
    } else if (line.is_explained) {
        document.add("\"lines\": " + json_array(lines_of(shown)));
    } else if (has_text(result)) {
        document.add_blocks(shown);
    }
    return target.take(document.finish(result), result, deadline);
}

// The page says itself what is missing, so it replaces the file even if something is, unless --fail-partial forbids it.
int write_page(Session &session, const Line &line, EntryPoint entry, Request &request, const Deadline &deadline) {
    HeldOutput page(line.filters.back().file);
    const int result = run_command(session.current(), entry, request, {}, page.descriptor(), deadline);
    const bool is_partial = result == kExitIncomplete || result == kExitLoop;
    if (result == kExitComplete || (is_partial && !session.options().fail_partial)) {
        page.publish();
    } else {
        page.report_withheld();
    }
    return result;
}

// A file is replaced, and an output that must be whole is shown, when the command has ended.
int show_held(Session &session, EntryPoint entry, Request &request, const Output &output, const Deadline &deadline) {
    Target target(session, output);
    const HeldOutput held({});
    const int result = run_command(session.current(), entry, request, {}, held.descriptor(), deadline);
    return target.take(held, result, deadline);
}

int show_text_of(Session &session, const Line &line, EntryPoint entry, Request &request) {
    const Deadline deadline = deadline_of(session);
    if (line.is_json()) return show_as_json(session, line, entry, request, deadline);
    if (line.is_page()) return write_page(session, line, entry, request, deadline);
    const Output output = output_of(line, session.options());
    if (output.file || session.options().fail_partial) return show_held(session, entry, request, output, deadline);
    return run_command(session.current(), entry, request, output, STDOUT_FILENO, deadline);
}

} // namespace

Deadline deadline_of(const Session &session) {
    return deadline_in(session.options().deadline);
}

bool has_text(int code) {
    return code == kExitComplete || code == kExitIncomplete;
}

void take_options(Request &request, const Options &options) {
    request.req.dbg_mask = options.debug_mask;
    request.options.filter_mode = options.filter_mode;
    request.options.script_mode = options.script_mode;
    request.has_header = !options.plain;
    request.has_messages = std::getenv(kVariableOfMessages) == nullptr;
}

int show_display(Session &session, const Line &line, EntryPoint entry, Request &request) {
    session.replay(request);
    if (!session.options().record) return show_text_of(session, line, entry, request);
    RecordingFile file(session, line, request);
    return file.publish(show_text_of(session, line, entry, request));
}

int show_table(Session &session, const Line &line, const Table &table, const Title &title, int result) {
    const Deadline deadline = deadline_of(session);
    if (!line.is_json())
        return Target(session, output_of(line, session.options())).take(title.text + table.text(), result, deadline);
    Document document(line.text, session.current());
    document.add(title.members);
    document.add("\"rows\": " + table.json());
    return target_of_document(session, line).take(document.finish(result), result, deadline);
}

int show_lines(Session &session, const Line &line, const MarkedLines &lines, int result, const Deadline &deadline) {
    if (!line.is_json()) {
        Output output = output_of(line, session.options());
        output.marks = lines.marks;
        return Target(session, output).take(lines.text, result, deadline);
    }
    Document document(line.text, session.current());
    document.add(lines.members);
    if (has_text(result)) document.add_lines(filtered(line, lines.text, lines.marks));
    return target_of_document(session, line).take(document.finish(result), result, deadline);
}

int show_members(Session &session, const Line &line, const std::string &members, int found, const Deadline &deadline) {
    Document document(line.text, session.current());
    document.add(members);
    const std::string text = document.finish(found, true);
    const int shown = target_of_document(session, line).take(text, kExitComplete, deadline);
    return shown == kExitComplete ? found : kExitUsage;
}

} // namespace shell
