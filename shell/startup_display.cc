// The library ends a display that needs more than the text of the store with a line and status 0. The conditions here
// are those of the library, which has no record of having refused.
#include "shell/startup_display.h"

#include "shell/run.h"
#include "sim/saved_config.h"

namespace shell {
namespace {

bool needs_services() {
    return cfg_display != QARN_DISPLAY_ALL || qarn_feature == 1 || cmd_token_id == QARN_TOKEN_SYNC_BODY;
}

} // namespace

uint32_t status_of_display(const qarn_req &req, uint32_t status) {
    const sim::Switch &sw = sim::current();
    if (status != 0 || (req.info_flags & QARN_INFO_STARTUP) == 0 || sw.store.empty()) return status;
    const bool was_refused = needs_services() && sim::folder_of_services(sw).empty();
    return was_refused || !sim::is_saved_config_whole() ? kExitFailure : 0;
}

} // namespace shell
