// `show services` of a switch behind a NATS server.
#pragma once

#include "shell/line.h"
#include "shell/session.h"

namespace shell {

// Who is registered, and which services of a description of the user's are not. Returns the exit code.
int show_registered_services(Session &session, const Line &line);

} // namespace shell
