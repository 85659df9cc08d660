// What the command "explain" shows of a display that has ended, in its process.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "explain/dot.h"
#include "explain/observation.h"
#include "explain/subject.h"
#include "shell/request.h"

namespace shell {

// Runs the entry point without showing its text, which the observation has.
uint32_t run_observed(sim::Switch &sw, EntryPoint entry, qarn_req &req, explain::Observation &observation);

// Writes to standard output what is shown in place of the text of a display. Returns an exit code.
using Explanation = std::function<int(const explain::Subject &)>;

Runner explained_by(Explanation explanation);

// Shows each line with its origin. The shells that the display of all VDCs starts do so for theirs.
Runner with_origins(EntryPoint entry, bool as_json);
// The same if the shell that has started this one demands it; otherwise none.
Runner with_demanded_origins();

// Each line with its origin.
int show_origins(const explain::Subject &subject);
int show_origins_as_json(const explain::Subject &subject); // an object for each line

// A line that stands between the displays of two VDCs.
std::string row_between_vdcs(std::string_view line);
std::string row_between_vdcs_as_json(std::string_view line);

// Writes a page that explains the display to standard output. Throws CommandError if it would explain nothing.
Runner as_page(EntryPoint entry, const std::string &command);

// The place of an element among others.
int show_order(const explain::Subject &subject, explain::Key key);

// Say that an element is not there. Returns an exit code.
int report_absent(const explain::Elements &elements, explain::Key key);

// Elements that wait for each other.
int show_loops(const explain::Subject &subject);

// The dependencies as a picture for Graphviz.
int show_graph(const explain::Subject &subject, const explain::Selection &selection);

// What each service has sent.
int show_answers(const explain::Subject &subject);
int show_answers_as_json(const explain::Subject &subject);

} // namespace shell
