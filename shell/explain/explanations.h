// What the command "explain" shows of a display that has ended, in its process.
#pragma once

#include <cstdint>

#include "explain/dot.h"
#include "explain/subject.h"
#include "shell/request.h"
#include "sim/switch.h"

namespace shell {

// Run the entry point without showing its text, and show the request's explanation. `code` becomes its exit code.
uint32_t run_explained(sim::Switch &sw, EntryPoint entry, Request &request, int &code);

// Each line with its origin.
int show_origins(const explain::Subject &subject);
int show_origins_as_json(const explain::Subject &subject); // an object for each line

// The place of an element among others.
int show_order(const explain::Subject &subject, explain::Key element);

// Elements that wait for each other.
int show_loops(const explain::Subject &subject);

// The dependencies as a picture for Graphviz.
int show_graph(const explain::Subject &subject, const explain::Selection &selection);

// What each service has sent.
int show_answers(const explain::Subject &subject);
int show_answers_as_json(const explain::Subject &subject);

} // namespace shell
