#include "shell/actions.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "shell/answer.h"
#include "shell/diff.h"
#include "shell/document.h"
#include "shell/entry_process.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/forms.h"
#include "shell/held_output.h"
#include "shell/json.h"
#include "shell/message.h"
#include "shell/output.h"
#include "shell/run.h"
#include "shell/session.h"
#include "sim/notation.h"
#include "sim/store.h"

namespace shell {
namespace {

constexpr std::string_view kExplain = "explain", kCheckpoint = " checkpoint";

// The display that a line explains.
std::string display_of(const Line &line) {
    const std::string rest = line.text.substr(kExplain.size());
    return rest.starts_with(kCheckpoint) ? rest.substr(1) : "show" + rest;
}

} // namespace

void fill_request(Session &session, const Line &line, Request &request) {
    take_options(request, session.options());
    request.options.generic_option |= line.display->generic_option;
    if (line.form->fill != nullptr) line.form->fill(line, session.current(), request);
    for (const Narrowed &narrowed : line.narrowings)
        narrowed.narrowing->fill(narrowed.argument, session.current(), request);
}

int show_configuration(Session &session, const Line &line) {
    const EntryPoint entry = entry_of(*line.form, *line.display);
    if (session.recording() != nullptr && entry == qarn_cli_run_cfg_gen_vdcall)
        throw CommandError("a recording has no other VDCs");
    if (session.options().record && entry == qarn_cli_run_cfg_gen_vdcall)
        throw CommandError("each VDC is recorded by itself: start in it with --vdc");
    if (entry != qarn_cli_run_cfg_gen_vdcall) session.find_services(); // the shells of the VDCs find theirs
    Request request(line.is_explained ? display_of(line) : line.text);
    fill_request(session, line, request);
    request.outlives_interruption = line.is_explained && !line.is_page() && entry != qarn_cli_run_cfg_gen_vdcall;
    request.runner = line.is_explained ? with_origins(entry, line.is_json()) : with_demanded_origins();
    if (line.is_page()) request.runner = as_page(entry, request.req.cmd_line);
    return show_display(session, line, entry, request);
}

namespace {

// One of the two configurations that are compared, with the outcome of its display as members of a JSON object.
struct Compared {
    std::string name, text, outcome;
};

int take(Session &session, const Display &display, const Deadline &deadline, Compared &compared) {
    const Subject subject(compared.name);
    const HeldOutput text({}), outcome({});
    Output output;
    output.outcome = outcome.descriptor();
    Request request("show " + compared.name);
    take_options(request, session.options());
    request.has_header = false;
    request.has_messages = false;
    const int result =
        run_command(session.current(), entry_of(kWhole, display), request, output, text.descriptor(), deadline);
    compared.text = text.contents();
    compared.outcome = outcome_in(outcome.contents()).members;
    return result;
}

std::string json_of(const Compared &compared) {
    return json_text(compared.name.substr(0, compared.name.find('-')))
        .append(": {")
        .append(compared.outcome)
        .append("}");
}

} // namespace

int show_difference(Session &session, const Line &line) {
    session.find_services();
    const Deadline deadline = deadline_of(session);
    Compared before = {"startup-config", "", ""}, after = {"running-config", "", ""};
    MarkedLines lines = {"", "", kColumnsOfMark};
    int result = take(session, {true, 0}, deadline, before);
    lines.members = json_of(before);
    if (has_text(result)) {
        result = worse_of(result, take(session, {false, 0}, deadline, after));
        lines.members += ",\n " + json_of(after);
    }
    if (has_text(result)) lines.text = difference_of(before.text, after.text);
    return show_lines(session, line, lines, result, deadline);
}

int copy_to_file(Session &session, const Line &line) {
    const std::string file(file_named(line.arguments[0]));
    session.find_services();
    HeldOutput held(file);
    Request request("show running-config");
    take_options(request, session.options());
    const int result = run_command(session.current(), entry_of(kWhole, {false, 0}), request, {}, held.descriptor(),
                                   deadline_of(session));
    if (result != kExitComplete) {
        held.report_withheld();
        return result == kExitIncomplete || result == kExitLoop ? kExitFailure : result;
    }
    held.publish();
    std::printf("Copied to %s.\n", sim::printable(file).c_str());
    if (std::fflush(stdout) == 0) return kExitComplete;
    std::clearerr(stdout);
    print_message("the file was written, but standard output cannot be written");
    return kExitFailure;
}

int save_configuration(Session &session, const Line &line) {
    if (session.remote() != nullptr)
        throw std::runtime_error(
            "--connect cannot copy to the startup configuration, because the shell does not have the elements of the "
            "services");
    Request request(line.text);
    take_options(request, session.options());
    request.options.generic_option |= QARN_OPTION_SAVED_NOW;
    request.has_header = true; // of the text that is saved
    const int result =
        run_command(session.current(), copy_running_to_startup, request, {}, STDOUT_FILENO, deadline_of(session));
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
