// Which services a complete display asks: those that are registered for requests, up to the room of the library's list.
#include "platform/mts.h"
#include "sim/check/subjects.h"

namespace sim {

void check_consumers(const Switch &sw, Report &report) {
    std::size_t consumers = 0;
    const Service *first_left_out = nullptr;
    for (const Service &service : sw.services) {
        if (!service.consumer) continue;
        ++consumers;
        if (consumers == MTS_CONSUMER_CAPACITY + 1) first_left_out = &service;
    }
    if (first_left_out != nullptr) {
        report.warn("too-many-consumers", first_left_out->line,
                    "a display asks only the first 256 services; it leaves out " +
                        and_more(first_left_out->name, consumers - MTS_CONSUMER_CAPACITY),
                    "describe fewer services, or give some of them \"consumer: false\"");
    }
    if (consumers == 0 && report.is_whole()) {
        report.warn("no-consumers", sw.services_line,
                    "no service is asked; a display prints \"No registered SAPS\" only",
                    "describe a service without \"consumer: false\"");
    }
}

} // namespace sim
