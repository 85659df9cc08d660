// How the answer to a command reaches the user: as a text with filters, as a JSON object, or in a file.
#pragma once

#include <string>

#include "shell/deadline.h"
#include "shell/line.h"
#include "shell/request.h"
#include "shell/session.h"
#include "shell/table.h"

namespace shell {

// Options of the shell that hold for every display.
void take_options(Request &request, const Options &options);

// The request of a display, as the line says it.
void fill_request(Session &session, const Line &line, Request &request);

// Run an entry point and show what it prints. Returns the command's exit code.
int show_display(Session &session, const Line &line, EntryPoint entry, Request &request);

// What comes before a table, as lines and as members of a JSON object.
struct Title {
    std::string text, members;
};
// Show what the shell itself has found out. Each returns `result`, or a worse exit code.
int show_table(Session &session, const Line &line, const Table &table, const Title &title, int result);
// Lines with marks of so many columns before them; and members of a JSON object besides.
struct MarkedLines {
    std::string text, members;
    std::size_t marks = 0;
};
int show_lines(Session &session, const Line &line, const MarkedLines &lines, int result, const Deadline &deadline);
// A JSON object with these members, whose exit code says what was found. Returns that code, or kExitFailure if it
// cannot be shown.
int show_members(Session &session, const Line &line, const std::string &members, int found, const Deadline &deadline);

// The deadline of a command that begins now.
Deadline deadline_of(const Session &session);

// Whether a command with this exit code has printed a text that can be relied on.
bool has_text(int code);

} // namespace shell
