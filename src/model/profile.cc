// Port-profile and switch-profile set-up of a generation: what the command and the shell's filter mode mean for the
// interface blocks and for the switch-profile block after the levels. script_mode and g_bypass_ppm are only ever set
// here, never cleared.
#include <qarncli/profile.h>

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/vdc.h"

namespace qarn {
namespace {

constexpr uint32_t kVdcWithoutProfiles = 2;

// Whether this command shows the switch profile after the levels, under the shell's filter mode.
bool shows_switch_profile(const qarn_req &req, uint32_t filter_mode) {
    const bool all_services = qarn_feature == 0 || (qarn_feature == 1 && qarn_feature_send_all == 1);
    const bool filter =
        (filter_mode & CLI_FILTER_SWITCH_PROFILE) != 0 && (filter_mode & CLI_FILTER_NO_SWITCH_PROFILE) == 0;
    const bool token =
        cmd_token_id == 0 || cmd_token_id == QARN_TOKEN_SYNC_BODY || cmd_token_id == QARN_TOKEN_SYNC_PLAIN;
    return all_services && g_bypass_ppm != 1 && filter && token && req.cmd_code == 0 && req.index == 0;
}

} // namespace
} // namespace qarn

void qarn_ppm_merge_init(qarn_req *req, uint32_t cfg_source) {
    const bool sync_token = cmd_token_id == QARN_TOKEN_SYNC_BODY || cmd_token_id == QARN_TOKEN_SYNC_PLAIN;
    const uint32_t filter_mode = g_cli_execution_filter_mode;
    const bool filter_token_mode = (filter_mode & (CLI_FILTER_SCRIPT | CLI_FILTER_SYNC_FRAME)) != 0;
    ppm_merge_input.token_mode = filter_token_mode || sync_token ? 1 : 0;
    if (cmd_token_id == QARN_TOKEN_SYNC_PLAIN) g_cli_execution_filter_mode |= CLI_FILTER_SYNC_FRAME;
    ppm_merge_input.cmd_code = req->cmd_code;
    ppm_merge_input.cfg_source = cfg_source;

    g_bypass_sp_qarn = qarn::shows_switch_profile(*req, filter_mode) ? 0 : 1;
    if (g_bypass_sp_qarn == 0) csm_qarn_sp_init(cmd_token_id);

    if (g_cli_script_mode != 0 || (filter_mode & CLI_FILTER_SCRIPT) != 0) ppm_merge_input.script_mode = 1;
    if (vdc_get_type() == qarn::kVdcWithoutProfiles) g_bypass_ppm = 1;
}
