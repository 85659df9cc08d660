// What the commands of the grammar do.
#pragma once

#include "shell/line.h"

namespace shell {

int show_configuration(Session &session, const Line &line);
int save_configuration(Session &session, const Line &line);
int explain_order(Session &session, const Line &line);
int explain_loop(Session &session, const Line &line);
int explain_graph(Session &session, const Line &line);
int explain_graph_of_level(Session &session, const Line &line);
int explain_graph_of_service(Session &session, const Line &line);
int explain_graph_around(Session &session, const Line &line);
int explain_services(Session &session, const Line &line);
int check_services(Session &session, const Line &line);
int check_except(Session &session, const Line &line);
int check_orders(Session &session, const Line &line);
int check_except_orders(Session &session, const Line &line);
int compare_configurations(Session &session, const Line &line);
int compare_texts(Session &session, const Line &line);
int list_check_rules(Session &session, const Line &line);
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
