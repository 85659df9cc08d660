#include "shell/actions.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "shell/diff.h"
#include "shell/document.h"
#include "shell/forms.h"
#include "shell/header.h"
#include "shell/held_output.h"
#include "shell/output.h"
#include "shell/run.h"
#include "shell/session.h"
#include "sim/store.h"

namespace shell {
namespace {

// Options of the shell that hold for every display.
void take_options(Request &request, const Options &options) {
    request.req.dbg_mask = options.debug_mask;
    request.options.filter_mode = options.filter_mode;
    request.options.script_mode = options.script_mode;
}

Deadline deadline_of(const Session &session) {
    return deadline_in(session.options().deadline);
}

// Filters of a text that goes to a file work before the file is whole; any other text is shown after it was held.
int run_held(Session &session, EntryPoint entry, Request &request, const Output &output) {
    HeldOutput held(output.file);
    const int result = run_command(session.current(), entry, request, output.file ? output : Output(),
                                   held.descriptor(), deadline_of(session));
    if (result != kExitComplete) {
        held.report_withheld();
        return result;
    }
    if (!output.file && output.has_work()) return show_text(held.descriptor(), output);
    held.publish();
    return result;
}

int run(Session &session, EntryPoint entry, Request &request, const Output &output) {
    return run_command(session.current(), entry, request, output, STDOUT_FILENO, deadline_of(session));
}

int write_text(const Output &output, const std::string &text, int result) {
    const HeldOutput own({});
    own.write(text);
    if (!output.file) return worse_of(result, show_text(own.descriptor(), output));
    HeldOutput file(output.file);
    if (result == kExitComplete) result = pass_on(own.descriptor(), output, file.descriptor());
    if (result == kExitComplete) {
        file.publish();
    } else {
        file.report_withheld();
    }
    return result;
}

// The filters of a line before "json", which work on the text of the command.
Output output_before_json(const Line &line) {
    Output output;
    const auto json = std::ranges::find(line.filters, FilterKind::kJson, &Filter::kind);
    output.filters.assign(line.filters.begin(), json);
    return output;
}

int write_document(Session &session, const Line &line, const Document &document, int result) {
    Output output = output_of(line, session.options());
    output.filters.clear(); // those after "json" concern the destination
    return write_text(output, document.finish(result), result);
}

// The text, as it is or after the filters that come before "json".
std::string filtered(const Line &line, const std::string &text) {
    const Output output = output_before_json(line);
    if (output.filters.empty()) return text;
    const HeldOutput before({}), after({});
    before.write(text);
    pass_on(before.descriptor(), output, after.descriptor());
    return after.contents();
}

// A command that was refused or interrupted, or that ended in a loop, has no text that could be relied on.
bool has_text(int code) {
    return code == kExitComplete || code == kExitIncomplete;
}

std::string configuration_in(const std::string &text, bool is_of_every_vdc) {
    return is_of_every_vdc ? without_headers(text) : std::string(divide(text).configuration);
}

int show_as_json(Session &session, const Line &line, EntryPoint entry, Request &request) {
    const HeldOutput text({}), outcome({});
    Output output;
    output.outcome = outcome.descriptor();
    Document document(line.text, session.current());
    const int result = run_command(session.current(), entry, request, output, text.descriptor(), deadline_of(session));
    if (session.options().fail_partial && result != kExitComplete) {
        text.report_withheld();
        return result;
    }
    document.add(outcome.contents());
    if (has_text(result)) {
        const bool is_of_every_vdc = entry == qarn_cli_run_cfg_gen_vdcall;
        document.add_blocks(filtered(line, configuration_in(text.contents(), is_of_every_vdc)));
    }
    return write_document(session, line, document, result);
}

int show_lines(Session &session, const Line &line, const std::string &text, int result) {
    if (!line.is_json()) return write_text(output_of(line, session.options()), text, result);
    Document document(line.text, session.current());
    document.add_lines(filtered(line, text));
    return write_document(session, line, document, result);
}

} // namespace

int show_configuration(Session &session, const Line &line) {
    Request request(line.text);
    take_options(request, session.options());
    request.options.generic_option |= line.display->generic_option;
    if (line.form->fill != nullptr) line.form->fill(line, session.current(), request);
    for (const Narrowed &narrowed : line.narrowings)
        narrowed.narrowing->fill(narrowed.argument, session.current(), request);
    const EntryPoint entry = entry_of(*line.form, *line.display);
    if (line.is_json()) return show_as_json(session, line, entry, request);
    const Output output = output_of(line, session.options());
    const bool is_held = output.file || session.options().fail_partial;
    return is_held ? run_held(session, entry, request, output) : run(session, entry, request, output);
}

int show_table(Session &session, const Line &line, const Table &table, const Title &title, int result) {
    if (!line.is_json()) return write_text(output_of(line, session.options()), title.text + table.text(), result);
    Document document(line.text, session.current());
    document.add(title.members);
    document.add("\"rows\": " + table.json());
    return write_document(session, line, document, result);
}

int show_difference(Session &session, const Line &line) {
    const Display running = {false, 0}, startup = {true, 0};
    HeldOutput before({}), after({});
    int result = kExitComplete;
    for (const auto &[shown, output] : {std::pair(&startup, &before), std::pair(&running, &after)}) {
        Request request(shown->is_startup ? "show startup-config" : "show running-config");
        take_options(request, session.options());
        const int status = run_command(session.current(), entry_of(kWhole, *shown), request, {}, output->descriptor(),
                                       deadline_of(session));
        if (status != kExitComplete && status != kExitIncomplete) return show_lines(session, line, "", status);
        result = worse_of(result, status);
    }
    return show_lines(session, line, difference_of(before.contents(), after.contents()), result);
}

int copy_to_file(Session &session, const Line &line) {
    HeldOutput held(std::string(line.arguments[0]));
    Request request("show running-config");
    take_options(request, session.options());
    Output output;
    output.has_header = !session.options().plain;
    const int result = run_command(session.current(), entry_of(kWhole, {false, 0}), request, output, held.descriptor(),
                                   deadline_of(session));
    if (result != kExitComplete) {
        held.report_withheld();
        return result == kExitIncomplete || result == kExitLoop ? kExitFailure : result;
    }
    held.publish();
    std::puts("Copy complete.");
    return flush_output() ? kExitComplete : kExitFailure;
}

int save_configuration(Session &session, const Line &line) {
    Request request(line.text);
    take_options(request, session.options());
    request.options.generic_option |= QARN_OPTION_SAVED_NOW;
    const int result = run(session, copy_running_to_startup, request, {});
    if (result == kExitComplete) return result;
    sim::remove_unfinished_save(session.current());
    return result == kExitIncomplete ? kExitFailure : result; // it went on after its deadline
}

int enter_vdc(Session &session, const Line &line) {
    session.switch_to(std::string(line.arguments[0]));
    return kExitComplete;
}

int leave_vdc(Session &session, const Line &) {
    session.switch_back();
    return kExitComplete;
}

int end_session(Session &session, const Line &) {
    session.end();
    return kExitComplete;
}

} // namespace shell
