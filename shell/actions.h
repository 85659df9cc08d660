// What the commands of the grammar do.
#pragma once

#include <string>

#include "shell/line.h"
#include "shell/table.h"

namespace shell {

int show_configuration(Session &session, const Line &line);
int save_configuration(Session &session, const Line &line);
// What comes before a table, as lines and as members of a JSON object.
struct Title {
    std::string text, members;
};
// Show a table, as the filters of the line say. Returns `result`, or a worse exit code.
int show_table(Session &session, const Line &line, const Table &table, const Title &title, int result);
int show_services(Session &session, const Line &line);
int show_interfaces(Session &session, const Line &line);
int show_vdcs(Session &session, const Line &line);
int show_saved_services(Session &session, const Line &line);
int show_difference(Session &session, const Line &line);
int copy_to_file(Session &session, const Line &line);
int enter_vdc(Session &session, const Line &line);
int leave_vdc(Session &session, const Line &line);
int end_session(Session &session, const Line &line);

} // namespace shell
