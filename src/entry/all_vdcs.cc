// The configuration of every virtual device context in turn. For each active VDC a separate shell runs, which loads
// this library again. Its output is surrounded by a header and the commands that switch into the VDC and back, so that
// the whole is one script.
#include <qarncli/entry.h>

#include <qarncli/globals.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "base/tokens.h"
#include "entry/turn.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/programs.h"
#include "platform/vdc.h"

namespace qarn {
namespace {

constexpr char kShell[] = "/opux/bin/vsh";

struct Command {
    uint32_t code;
    const char *text; // what the VDC's shell runs
    bool startup;
};
constexpr Command kCommands[] = {
    {QARN_COMMAND_RUNNING_VDCS, "show running", false},
    {QARN_COMMAND_RUNNING_ALL_VDCS, "show running all", false},
    {QARN_COMMAND_STARTUP_VDCS, "show startup", true},
};

const Command *find_command(uint32_t code) {
    const auto *found =
        std::find_if(std::begin(kCommands), std::end(kCommands), [&](const Command &c) { return c.code == code; });
    return found != std::end(kCommands) ? found : nullptr;
}

void print_header(const Command &command, const vdc_map_entry &vdc) {
    if (command.startup) {
        csm_qarn_sp_print("!Startup config for vdc: %s\n\n", vdc.name);
    } else if (vdc.id == VDC_DEFAULT_ID) {
        csm_qarn_sp_print("!Running config for default vdc: %s\n\n", vdc.name);
    } else {
        csm_qarn_sp_print("!Running config for vdc: %s\n\n", vdc.name);
    }
    if (vdc.id != VDC_DEFAULT_ID) csm_qarn_sp_print("\nswitchto vdc %s\n", vdc.name);
}

int32_t run_shell(const Command &command, uint32_t vdc_id) {
    char id[256];
    std::snprintf(id, sizeof id, "%d", vdc_id);
    return execute_program_and_wait(kShell, "-i", id, "-o 40", "-c", command.text, static_cast<char *>(nullptr));
}

// Show one active VDC; `among_others` when the switch has more than this one. Returns the shell's result.
int32_t show_vdc(const Command *command, const vdc_map_entry &vdc, bool among_others) {
    int32_t result = 0;
    if (command == nullptr) {
        csm_qarn_sp_print("Wrong command\n");
        note_refusal(QARN_OUTCOME_NOT_SUPPORTED);
    } else {
        if (among_others) print_header(*command, vdc);
        std::fflush(nullptr); // the shell writes to the same output
        result = run_shell(*command, vdc.id);
    }
    if (among_others && vdc.id != VDC_DEFAULT_ID) csm_qarn_sp_print("switchback\n");
    std::fflush(nullptr);
    return result;
}

} // namespace
} // namespace qarn

uint32_t qarn_cli_run_cfg_gen_vdcall(qarn_req *req) {
    const qarn::Turn turn;
    if (!turn.is_mine() || !qarn::is_valid(*req)) return 1;
    for (uint32_t i = 0; i < qarn::token_count(*req); ++i) {
        if (req->tokens[i] != nullptr) cmd_token_id = req->tokens[i]->id;
    }

    vdc_map_entry *map = nullptr;
    if (const uint32_t status = vdc_map_get(&map); status != 0) {
        csm_qarn_sp_print("VDC map get failed %0x\n", status);
        qarn::note_refusal(QARN_OUTCOME_NO_VDCS, status);
        return 0;
    }
    const auto count = std::count_if(map, map + VDC_MAP_ENTRIES, [](const vdc_map_entry &vdc) { return vdc.id != 0; });
    int32_t rc = 0;
    for (const vdc_map_entry *vdc = map; vdc != map + VDC_MAP_ENTRIES; ++vdc) {
        if (vdc->id == 0) continue;
        if (const uint32_t status = vdc_is_active(vdc->id, &active); status != 0) {
            csm_qarn_sp_print("vdc_is_active failed %0x\n", status);
            qarn::note_refusal(QARN_OUTCOME_NO_VDCS, status);
            return 0;
        }
        if (active == 0) continue;
        qarn::note_printed();
        const int32_t result = qarn::show_vdc(qarn::find_command(req->cmd_code), *vdc, count > 1);
        if (result != 0) rc = result;
    }
    if (rc != 0) qarn::note_refusal(QARN_OUTCOME_PROGRAM, static_cast<uint32_t>(rc));
    return rc != 0 ? 1 : 0;
}
