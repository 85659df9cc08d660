// Receiving the requests of a service.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "nats/objects.h"
#include "nats/registry.h"
#include "service/inbox.h"

namespace service {

// Requests to all services, unless it is reached by its SAP only, and to this one come to the inbox. The server knows
// of the subscriptions when the function returns. Throws nats::Error, also if the user may not subscribe.
std::vector<nats::Subscription> subscribe(natsConnection *connection, const nats::Registration &registration,
                                          const std::shared_ptr<Inbox> &inbox);

// Throws nats::Error if the server's last refusal was one of the subjects.
void check_permitted(natsConnection *connection, const std::vector<std::string> &subjects);

} // namespace service
