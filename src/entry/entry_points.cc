// The entry points: what the shell calls, one per display command. They differ in what they set before the driver
// runs: the subset shown (cfg_display), the tokens applied, the services excluded or named. Each first takes the turn,
// so that a command within a command changes nothing.
#include <qarncli/entry.h>

#include <qarncli/globals.h>
#include <qarncli/message.h>

#include <algorithm>
#include <iterator>

#include "base/tokens.h"
#include "entry/generation.h"
#include "entry/turn.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/port_managers.h"

namespace qarn {
namespace {

// Software card ids of the modules that have templates.
constexpr uint32_t kTemplateCards[] = {176, 182, 183, 206, 222, 223, 237, 248, 249};

// Some tokens take effect here; any other becomes cmd_token_id.
void apply_tokens(qarn_req &req, uint32_t extra_token) {
    for (uint32_t i = 0; i < token_count(req); ++i) {
        if (req.tokens[i] == nullptr) continue;
        const uint32_t id = req.tokens[i]->id;
        if (id == QARN_TOKEN_NO_PROFILE_MERGE) {
            g_bypass_ppm = 1;
        } else if (id == extra_token) {
            req.info_flags |= QARN_INFO_EXTRA_OPT;
        } else {
            cmd_token_id = id;
        }
    }
}

// Run the driver and reduce its status to the 0 or 1 that the shell expects.
uint32_t run_driver(qarn_req *req, uint32_t cfg_source) {
    return generate(req, cfg_source) != 0 ? 1 : 0;
}

uint32_t show_display(qarn_req *req, uint32_t cfg_source) {
    if (!is_valid(*req)) return 1;
    apply_tokens(*req, cfg_source == QARN_SOURCE_RUNNING ? QARN_TOKEN_EXTRA_RUNNING : QARN_TOKEN_EXTRA_STARTUP);
    return run_driver(req, cfg_source);
}

uint32_t show(qarn_req *req, uint32_t cfg_source) {
    const Turn turn;
    return turn.is_mine() ? show_display(req, cfg_source) : 1;
}

uint32_t show_filtered(qarn_req *req, uint32_t cfg_source, uint32_t display) {
    const Turn turn;
    if (!turn.is_mine()) return 1;
    cfg_display = display;
    return show_display(req, cfg_source);
}

uint32_t show_all_but(qarn_req *req, uint32_t cfg_source) {
    const Turn turn;
    if (!turn.is_mine() || !is_valid(*req)) return 1;
    const uint32_t count = token_count(*req);
    num_saps_exclude = static_cast<int32_t>(count);
    for (uint32_t i = 0; i < count; ++i)
        saps_exclude[i] = token_sap(*req, i);
    return run_driver(req, cfg_source);
}

uint32_t show_service(qarn_req *req, uint32_t cfg_source) {
    const Turn turn;
    if (!turn.is_mine() || !is_valid(*req)) return 1;
    req->sap = token_sap(*req, 0);
    if (req->sap == 0) {
        csm_qarn_sp_print("Invalid SAP\n");
        note_refusal(QARN_OUTCOME_INVALID_SAP);
        return 0;
    }
    return run_driver(req, cfg_source);
}

} // namespace
} // namespace qarn

uint32_t qarn_cli_run_cfg_gen(qarn_req *req) {
    return qarn::show(req, QARN_SOURCE_RUNNING);
}
uint32_t qarn_cli_start_cfg_gen(qarn_req *req) {
    return qarn::show(req, QARN_SOURCE_STARTUP);
}

#define FILTERED_ENTRY_POINTS(name, display)                                          \
    uint32_t qarn_cli_run_##name##_cfg_gen(qarn_req *req) {                           \
        return qarn::show_filtered(req, QARN_SOURCE_RUNNING, QARN_DISPLAY_##display); \
    }                                                                                 \
    uint32_t qarn_cli_start_##name##_cfg_gen(qarn_req *req) {                         \
        return qarn::show_filtered(req, QARN_SOURCE_STARTUP, QARN_DISPLAY_##display); \
    }

FILTERED_ENTRY_POINTS(vsan, VSAN)
FILTERED_ENTRY_POINTS(vlan, VLAN)
FILTERED_ENTRY_POINTS(intf, INTERFACE)
FILTERED_ENTRY_POINTS(profile, PROFILE)
FILTERED_ENTRY_POINTS(bfd, BFD)
FILTERED_ENTRY_POINTS(l2mp, L2MP)
FILTERED_ENTRY_POINTS(exclude_l2mp, NO_L2MP)
FILTERED_ENTRY_POINTS(fex, FEX)
FILTERED_ENTRY_POINTS(exclude_fex, NO_FEX)

#undef FILTERED_ENTRY_POINTS

uint32_t qarn_cli_start_template_cfg_gen(qarn_req *req) {
    const qarn::Turn turn;
    if (!turn.is_mine()) return 1;
    const uint32_t card = pfm_get_sw_card_id_from_module() & 0xffff;
    if (std::find(std::begin(qarn::kTemplateCards), std::end(qarn::kTemplateCards), card) ==
        std::end(qarn::kTemplateCards)) {
        csm_qarn_sp_print("ERROR: Command not supported on this platform\n");
        qarn::note_refusal(QARN_OUTCOME_NOT_SUPPORTED);
        return 0;
    }
    cfg_display = QARN_DISPLAY_TEMPLATE;
    return qarn::show_display(req, QARN_SOURCE_STARTUP);
}

uint32_t qarn_cli_run_cfg_gen_exclude(qarn_req *req) {
    return qarn::show_all_but(req, QARN_SOURCE_RUNNING);
}
uint32_t qarn_cli_start_cfg_gen_exclude(qarn_req *req) {
    return qarn::show_all_but(req, QARN_SOURCE_STARTUP);
}

uint32_t qarn_cli_run_cfg_gen_sap(qarn_req *req) {
    return qarn::show_service(req, QARN_SOURCE_RUNNING);
}
uint32_t qarn_cli_start_cfg_gen_sap(qarn_req *req) {
    return qarn::show_service(req, QARN_SOURCE_STARTUP);
}
