// The commands "explain order", "explain loop", "explain graph" and "explain services". They run the display of the
// whole running configuration.
#include <stdexcept>
#include <string>

#include "shell/actions.h"
#include "shell/answer.h"
#include "shell/command_error.h"
#include "shell/explain/explanations.h"
#include "shell/forms.h"
#include "shell/numbers.h"
#include "shell/session.h"
#include "sim/notation.h"

namespace shell {
namespace {

// Of a recording, its own display is explained.
int explain_running(Session &session, const Line &line, Explanation explanation) {
    const auto *recording = session.recording();
    const std::string display = recording != nullptr ? recording->command.display : "show running-config";
    const Line shown = match(display);
    session.find_services();
    Request request(display);
    fill_request(session, shown, request);
    request.runner = explained_by(std::move(explanation));
    request.outlives_interruption = true;
    return show_display(session, line, entry_of(*shown.form, *shown.display), request);
}

uint32_t half_in(std::string_view argument, std::string_view text, const char *what) {
    const uint32_t number = number_in(argument, text, what);
    if (number > UINT16_MAX) throw CommandError("UUIDs and ids of elements end at 65535", argument);
    return number;
}

// "ID", of an element with the UUID of the service, or "UUID,ID".
explain::Key element_named(Session &session, std::string_view service, std::string_view argument) {
    constexpr char kWhat[] = "the id of an element, such as 3, or UUID and id, such as 334,3";
    const sim::Service *found = session.current().find_service(service);
    if (found == nullptr) throw CommandError("unknown service " + sim::quoted(service), service);
    const std::size_t comma = argument.find(',');
    if (comma == std::string_view::npos) return explain::key_of(found->uuid, half_in(argument, argument, kWhat));
    return explain::key_of(half_in(argument, argument.substr(0, comma), kWhat),
                           half_in(argument, argument.substr(comma + 1), kWhat));
}

} // namespace

int explain_order(Session &session, const Line &line) {
    const explain::Key key = element_named(session, line.arguments[0], line.arguments[1]);
    return explain_running(session, line, [key](const explain::Subject &subject) { return show_order(subject, key); });
}

int explain_loop(Session &session, const Line &line) {
    return explain_running(session, line, show_loops);
}

int explain_services(Session &session, const Line &line) {
    return explain_running(session, line, line.is_json() ? show_answers_as_json : show_answers);
}

int explain_graph(Session &session, const Line &line) {
    return explain_running(session, line,
                           [](const explain::Subject &subject) { return show_graph(subject, explain::Selection()); });
}

int explain_graph_of_level(Session &session, const Line &line) {
    explain::Selection selection;
    selection.level = number_in(line.arguments[0], line.arguments[0], "a level");
    if (*selection.level >= explain::kPrintLevels) throw CommandError("levels end at 12", line.arguments[0]);
    return explain_running(session, line,
                           [selection](const explain::Subject &subject) { return show_graph(subject, selection); });
}

int explain_graph_of_service(Session &session, const Line &line) {
    explain::Selection selection;
    selection.service = line.arguments[0];
    if (session.current().find_service(*selection.service) == nullptr)
        throw CommandError("unknown service " + sim::quoted(*selection.service), line.arguments[0]);
    return explain_running(session, line,
                           [selection](const explain::Subject &subject) { return show_graph(subject, selection); });
}

int explain_graph_around(Session &session, const Line &line) {
    const explain::Key key = element_named(session, line.arguments[0], line.arguments[1]);
    explain::Selection selection;
    selection.around = {key, number_in(line.arguments[2], line.arguments[2], "a number of steps")};
    return explain_running(session, line,
                           [selection](const explain::Subject &subject) { return show_graph(subject, selection); });
}

} // namespace shell
