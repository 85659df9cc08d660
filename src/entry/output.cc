// The output phase of a generation: the startup store released, the header, two ordering passes whose queues the
// printers read, then each of the 13 levels ordered and printed at once, the switch-profile block, and the platform's
// final callback. A loop, or a switch profile that the manager does not return, ends the generation at once; what was
// printed before stays printed. The display conversion is closed on every way out.
#include <qarncli/display.h>
#include <qarncli/globals.h>
#include <qarncli/graph.h>
#include <qarncli/ordering.h>
#include <qarncli/status.h>

#include <cstring>

#include "base/trace.h"
#include "entry/generation.h"
#include "entry/turn.h"
#include "order/passes.h"
#include "outcome/outcome.h"
#include "platform/cfglib.h"
#include "platform/cmdshell.h"
#include "platform/csm.h"
#include "platform/sysmgr.h"
#include "print/element_print.h"
#include "print/lookup.h"

namespace qarn {
namespace {

// The conversion lives for one generation, however that ends. Closing it a second time does nothing.
struct DisplayConversion {
    explicit DisplayConversion(qarn_req *req) { qarn_pre_display_op(req); }
    ~DisplayConversion() { close(); }
    DisplayConversion(const DisplayConversion &) = delete;
    DisplayConversion &operator=(const DisplayConversion &) = delete;
    void close() { qarn_post_display_op(); }
};

void print_header(const Generation &gen) {
    if (cfg_display == QARN_DISPLAY_TEMPLATE) return;
    qarn_time_print(gen.req, gen.cfg_source, gen.store.ascii_path);
    qarn_version_print();
}

bool report_loop() {
    csm_qarn_sp_print("Loop in the graph\n");
    return false;
}

void print_entry(const StoreEntry &entry, void *msg) {
    print_element(*entry.key, entry.value, *static_cast<const qarn_cfg_req_msg *>(msg));
}

bool print_level(Passes &passes, int32_t level, qarn_cfg_req_msg *msg) {
    if (debugging(QARN_DEBUG_DECODE)) trace("Configuration for Level:%d\n", level);
    if (add_nl != 0) csm_qarn_sp_print("\n");
    add_nl = 0;
    return passes.traverse_level(level, print_entry, msg) || report_loop();
}

bool print_levels(qarn_cfg_req_msg *msg) {
    Passes passes(merge_elem_table_p);
    if (!passes.order(Admit::kInterfaceElements, &intf_element_q)) return report_loop();
    if (debugging(QARN_DEBUG_DECODE)) print_dummy_elems(&intf_element_q);
    if (!passes.order(Admit::kEveryElement, &keystr_element_q)) {
        csm_qarn_sp_print("KEYSTR Loop in the graph\n");
        return false;
    }
    const Lookup lookup; // indexes what the two queues now hold
    for (int32_t level = 0; level < kPrintLevels; ++level) {
        if (!print_level(passes, level, msg)) return false;
    }
    return true;
}

void print_sync_block(const char *text) {
    if ((g_cli_execution_filter_mode & CLI_FILTER_SYNC_FRAME) != 0 && cmd_token_id != QARN_TOKEN_SYNC_PLAIN) {
        csm_qarn_sp_print("\nconfigure sync\n%s%scommit\n", text, "  ");
    } else {
        csm_qarn_sp_print("\n%s", text);
    }
}

// The library owns the configuration-sync manager's answer: both texts and the record are freed on every path, in this
// order.
Step print_switch_profile() {
    if (g_bypass_sp_qarn == 1) return kGoOn;
    const Malloced<qarn_sp_result> answer(csm_get_switch_profile_qarn(gl_q, ppm_merge_input));
    if (!answer) {
        note_refusal(QARN_OUTCOME_NO_SWITCH_PROFILE);
        return end_at_once(QARN_STATUS_FAILED);
    }
    const String sync_cfg(answer->sync_cfg);
    String head_text(answer->head_text);
    if (answer->status != 0) {
        csm_qarn_sp_print("config sync manager returned error:%s\n", syserr2str(answer->status));
        note_refusal(QARN_OUTCOME_NO_SWITCH_PROFILE, answer->status);
        return common_exit(answer->status);
    }
    if (head_text && cmd_token_id != QARN_TOKEN_SYNC_BODY) csm_qarn_sp_print("%s", head_text->str);
    head_text.reset();
    if (sync_cfg) print_sync_block(sync_cfg->str);
    return kGoOn;
}

// Whether the display ends with the platform's final callback. A VSAN or VLAN display first stores in the request which
// ids it has shown.
bool prepare_final_callback(const Generation &gen) {
    qarn_req *req = gen.req;
    const qarn_cfg_req_msg *msg = gen.message.bytes.get();
    if ((req->info_flags & QARN_INFO_PLAIN) != 0) return false;
    switch (cfg_display) {
        case QARN_DISPLAY_ALL:
            return qarn_feature == 0 || (qarn_feature == 1 && qarn_feature_send_all == 1);
        case QARN_DISPLAY_VSAN:
            req->info_flags |= QARN_INFO_VSANS_SHOWN;
            std::memcpy(req->vsan_mask.bits, msg->vsan_mask.bits, sizeof req->vsan_mask.bits);
            return true;
        case QARN_DISPLAY_VLAN:
            req->info_flags |= QARN_INFO_VLANS_SHOWN;
            std::memcpy(req->vlan_mask.bits, msg->vlan_mask.bits, sizeof req->vlan_mask.bits);
            return true;
        case QARN_DISPLAY_BFD:
        case QARN_DISPLAY_L2MP:
        case QARN_DISPLAY_NO_L2MP:
        case QARN_DISPLAY_FEX:
        case QARN_DISPLAY_NO_FEX:
            return true;
        default:
            return false;
    }
}

uint32_t call_final_callback(qarn_req *req) {
    const TurnGivenAway meanwhile;
    return qarn_cb_run_cfg_generate(req);
}

} // namespace

Step print_configuration(Generation &gen) {
    release_startup_store(gen.handle);
    print_header(gen);
    DisplayConversion conversion(gen.req);
    if (!print_levels(gen.message.bytes.get())) return end_at_once(QARN_STATUS_FAILED);
    note_printed();
    if (const Step end = print_switch_profile()) return end;
    conversion.close();
    if (debugging(QARN_DEBUG_STORE)) trace("Info flag = 0x%0x\n", gen.req->info_flags);
    return kGoOn;
}

uint32_t run_final_callback(const Generation &gen) {
    if (!prepare_final_callback(gen)) return 0;
    const uint32_t status = call_final_callback(gen.req);
    if (status != 0) note_refusal(QARN_OUTCOME_FINAL_CALLBACK, status);
    return status;
}

} // namespace qarn
