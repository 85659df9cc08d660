// The generation driver: one command from the shell's request to its last newline. run() lists the steps in order. A
// generation owns its request message, its copy of the startup store's URI and each joined reply. Everything that it
// decodes stays for the printers, until the next generation abandons it.
#include <qarncli/entry.h>
#include <qarncli/globals.h>
#include <qarncli/if_index_list.h>
#include <qarncli/interruption.h>
#include <qarncli/status.h>

#include <algorithm>
#include <csignal>
#include <cstddef>

#include "collect/exchange.h"
#include "collect/service_list.h"
#include "entry/generation.h"
#include "entry/turn.h"
#include "model/store_index.h"
#include "model/tlv_decode.h"
#include "outcome/outcome.h"
#include "platform/csm.h"

namespace qarn {
namespace {

struct DisplayVariant {
    uint32_t cmd_code;
    uint32_t display_type;
    bool no_interface_walk;   // sets g_all_intf_config_printed
    bool no_interface_header; // sets g_intf_config_printed
};
constexpr DisplayVariant kDisplayVariants[] = {
    {115, 4, false, false}, {116, 5, true, true},   {148, 13, false, false},
    {149, 14, false, true}, {150, 15, false, true}, {169, 12, true, true},
};

void begin(const Generation &gen) {
    debug = gen.req->dbg_mask;
    gen.req->gen_started = 1;
    ftbl_index = gen.req->index;
}

void choose_display_variant(const Generation &gen) {
    cfg_display_type = 0;
    for (const DisplayVariant &variant : kDisplayVariants) {
        if (variant.cmd_code != gen.req->cmd_code) continue;
        cfg_display_type = variant.display_type;
        if (variant.no_interface_walk) g_all_intf_config_printed = 1;
        if (variant.no_interface_header) g_intf_config_printed = 1;
    }
}

Step select(Generation &gen) {
    const std::optional<uint32_t> target = select_services(*gen.req);
    if (!target) {
        note_refusal(QARN_OUTCOME_NO_CONSUMERS);
        return end_at_once(QARN_STATUS_FAILED);
    }
    gen.target = *target;
    return kGoOn;
}

void install_signal_handler(const Generation &gen) {
    gl_q = gen.req->mts_handle;
    for (const int signo : {SIGINT, SIGHUP, SIGPIPE})
        std::signal(signo, qarn_sig_handler);
}

Step open_store(Generation &gen) {
    if (gen.cfg_source != QARN_SOURCE_STARTUP) return kGoOn;
    const std::optional<uint32_t> refusal = open_startup_store(*gen.req, gen.store);
    return refusal ? Step(end_at_once(*refusal)) : kGoOn;
}

Step build_request(Generation &gen) {
    gen.message = begin_request_message(gen.req, gen.cfg_source, gen.target);
    if (!gen.message.bytes) {
        note_refusal(QARN_OUTCOME_NO_MEMORY);
        return common_exit(QARN_STATUS_FAILED);
    }
    if (cfg_display == QARN_DISPLAY_INTERFACE && if_index_list_p->count == 0) {
        note_printed(); // there is no interface to show
        return common_exit(0);
    }
    const char *uri = gen.store.uri ? gen.store.uri.get() : QARN_DEFAULT_STARTUP_URI;
    complete_request_message(gen.message.bytes.get(), *gen.req, uri);
    return kGoOn;
}

// A reply that was cut short is decoded as far as it goes; that it was cut is then the reason for whatever is missing.
qarn_outcome_service decode(const JoinedReply &reply) {
    constexpr uint32_t kArrayAt = offsetof(qarn_cfg_reply, tlvs);
    const unsigned char *bytes = reply.bytes.get();
    const Decoding decoding = decode_reply(bytes + kArrayAt, bytes + reply.size, merge_elem_table_p);
    qarn_outcome_service became = {};
    became.status = decoding.status;
    became.expected = reply.size;
    if (reply.filled != reply.size) {
        became.state = QARN_OUTCOME_CUT_SHORT;
        became.received = reply.filled;
    } else if (decoding.end == Decoding::End::kBroken) {
        became.state = QARN_OUTCOME_BROKEN;
        became.received = kArrayAt + decoding.offset;
    } else if (decoding.end == Decoding::End::kMiscounted) {
        became.state = QARN_OUTCOME_MISCOUNTED;
        became.expected = decoding.announced;
        became.received = decoding.taken;
    } else if (decoding.end == Decoding::End::kSkipped) {
        became.state = QARN_OUTCOME_SKIPPED;
        became.expected = decoding.announced;
        became.received = decoding.announced - std::min(decoding.skipped, decoding.announced);
    } else {
        became.received = decoding.repeated;
    }
    return became;
}

void note_asked_services() {
    for (int32_t i = 0; i < num_saps; ++i) {
        if (saps[i] != 0) note_asked(saps[i]);
    }
}

Step collect(Generation &gen) {
    note_asked_services();
    if (const uint32_t status = ask_services(gen.handle, gen.message); status != 0) {
        note_nobody_asked();
        note_refusal(QARN_OUTCOME_TRANSPORT, status);
        return end_at_once(status);
    }
    const Collected collected = receive_replies(gen.handle, decode);
    if (collected.broken != 0) {
        note_refusal(QARN_OUTCOME_TRANSPORT, collected.broken);
        return end_at_once(collected.broken);
    }
    if (collected.missing != 0) note_missing();
    gen.recv_err = collected.missing;
    return kGoOn;
}

Step collect_and_print(Generation &gen) {
    const StoreIndex store_index;
    if (const Step end = build_request(gen)) return end;
    if (const Step end = collect(gen)) return end;
    return print_configuration(gen);
}

Ending run(Generation &gen) {
    begin(gen);
    choose_display_variant(gen);
    if (const Step end = select(gen)) return *end;
    install_signal_handler(gen);
    if (const Step end = open_store(gen)) return *end;
    if (const Step end = set_up(gen)) return *end;
    if (const Step end = collect_and_print(gen)) return *end;
    return common_exit(run_final_callback(gen));
}

} // namespace

uint32_t generate(qarn_req *req, uint32_t cfg_source) {
    Generation gen(req, cfg_source);
    const Ending ending = run(gen);
    release_startup_store(gen.handle);
    if (ending.at_once) return ending.status;
    gen.store.uri.reset();
    gen.message.bytes.reset();
    csm_qarn_sp_print("\n");
    return ending.status != 0 ? ending.status : gen.recv_err;
}

} // namespace qarn

uint32_t qarn_generate(qarn_req *req, uint32_t cfg_source) {
    const qarn::Turn turn;
    return turn.is_mine() ? qarn::generate(req, cfg_source) : 1;
}
