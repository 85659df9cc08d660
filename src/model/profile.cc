// Port-profile and switch-profile set-up of a generation: what the command and the shell's filter mode mean for the
// interface blocks and for the block behind the levels. script_mode and g_bypass_ppm are only ever set here.
#include <qarncli/profile.h>

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/vdc.h"

namespace {

constexpr uint32_t kTokenSyncHead = 203;
constexpr uint32_t kTokenSyncPlain = 206;
constexpr uint32_t kVdcWithoutProfiles = 2;

bool filter_has(uint32_t bits) {
    return (g_cli_execution_filter_mode & bits) != 0;
}

// Whether this command shows the switch profile behind the levels.
bool shows_switch_profile(const qarn_req &req) {
    const bool all_services = qarn_feature == 0 || (qarn_feature == 1 && qarn_feature_send_all == 1);
    const bool filter = filter_has(CLI_FILTER_SWITCH_PROFILE) && !filter_has(CLI_FILTER_NO_SWITCH_PROFILE);
    const bool token = cmd_token_id == 0 || cmd_token_id == kTokenSyncHead || cmd_token_id == kTokenSyncPlain;
    return all_services && g_bypass_ppm != 1 && filter && token && req.cmd_code == 0 && req.index == 0;
}

} // namespace

void qarn_ppm_merge_init(qarn_req *req, uint32_t cfg_source) {
    const bool sync_token = cmd_token_id == kTokenSyncHead || cmd_token_id == kTokenSyncPlain;
    ppm_merge_input.token_mode = filter_has(CLI_FILTER_SCRIPT | CLI_FILTER_SYNC_FRAME) || sync_token ? 1 : 0;
    if (cmd_token_id == kTokenSyncPlain) g_cli_execution_filter_mode |= CLI_FILTER_SYNC_FRAME;
    ppm_merge_input.cmd_code = req->cmd_code;
    ppm_merge_input.cfg_source = cfg_source;

    g_bypass_sp_qarn = shows_switch_profile(*req) ? 0 : 1;
    if (g_bypass_sp_qarn == 0) csm_qarn_sp_init(cmd_token_id);

    if (g_cli_script_mode != 0 || filter_has(CLI_FILTER_SCRIPT)) ppm_merge_input.script_mode = 1;
    if (vdc_get_type() == kVdcWithoutProfiles) g_bypass_ppm = 1;
}
