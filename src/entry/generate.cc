// The generation driver: from the shell's request to the replies of all services, decoded into the element store. The
// printing that follows is the output phase (output.cc). Each function below is one step, in the order of their calls
// in run(). A generation owns its request message, its copy of the startup URI and each joined reply; everything that
// it decodes is left for the printers and abandoned by the next generation.
#include <qarncli/callbacks.h>
#include <qarncli/element_store.h>
#include <qarncli/entry.h>
#include <qarncli/globals.h>
#include <qarncli/interruption.h>
#include <qarncli/reply_table.h>
#include <qarncli/service_list.h>
#include <qarncli/startup.h>
#include <qarncli/status.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "base/bytes.h"
#include "base/trace.h"
#include "collect/joined_reply.h"
#include "entry/generation.h"
#include "model/decode.h"
#include "model/store_index.h"
#include "platform/csm.h"
#include "platform/mts.h"
#include "platform/sysmgr.h"

namespace qarn {
namespace {

constexpr uint32_t kAllConsumers = 1;      // req.sap: every consumer, in feature mode
constexpr uint32_t kTableRow = 0xffffffff; // req.sap: the SAPs of row req.index
constexpr uint32_t kSapCliServer = 296;    // waited for once more
constexpr uint32_t kReceiveTimeout = 120;  // between two messages, in the transport's unit
constexpr std::size_t kUriSuffix = 4;      // characters behind the base of the store's URI

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

// Ask for every consumer of the request opcode. A negative answer is reported, and is never used as a length: num_saps
// keeps its value.
bool list_consumers(const Generation &gen) {
    const int32_t answered = mts_opc_consumers_list(gen.handle, QARN_OPC_REQUEST, saps, MTS_CONSUMER_CAPACITY);
    if (answered < 0) {
        std::perror("Num Consumers");
        return false;
    }
    num_saps = std::min<int32_t>(answered, MTS_CONSUMER_CAPACITY);
    return true;
}

// Feature mode: the request names a SAP or a table row. Otherwise every consumer is asked, and listed later.
Step select_services(Generation &gen) {
    const qarn_req &req = *gen.req;
    if (req.sap == 0 && req.index == 0) return kGoOn;
    qarn_feature = 1;
    add_nl = 0;
    if (debugging(QARN_DEBUG_COLLECT)) {
        trace("Sap:%d\n", req.sap);
        trace("Index:%d\n", req.index);
    }
    if (req.sap == kAllConsumers) {
        if (!list_consumers(gen)) return end_at_once(QARN_STATUS_FAILED);
        qarn_feature_send_all = 1;
        gen.target = 1;
    } else if (req.sap == kTableRow) {
        qarn_get_saps_from_sap_table(req.index);
        gen.target = req.index;
    } else {
        num_saps = 1;
        saps[0] = req.sap;
        gen.target = req.sap;
    }
    return kGoOn;
}

void install_signal_handler(const Generation &gen) {
    gl_q = gen.req->mts_handle;
    for (const int signo : {SIGINT, SIGHUP, SIGPIPE})
        std::signal(signo, qarn_sig_handler);
}

Step refuse_without_copy() {
    csm_qarn_sp_print("ERROR: Please do 'copy run start' and retry.\n");
    return end_at_once(0);
}

// The three displays that cannot go on without a binary store; each condition asks for it anew.
Step check_startup_store(Generation &gen) {
    if (qarn_is_startup_cfg_present(gen.req, gen.startup_path) == 0) {
        csm_qarn_sp_print("%s\n", syserr2str(QARN_STATUS_NO_STARTUP));
        return end_at_once(QARN_STATUS_NO_STARTUP);
    }
    if (cfg_display != QARN_DISPLAY_ALL && qarn_is_startup_bin_cfg_present(gen.req) == 0) return refuse_without_copy();
    if (qarn_feature == 1 && qarn_is_startup_bin_cfg_present(gen.req) == 0) {
        csm_qarn_sp_print("ERROR:No binary startup-config present. Use \"show startup-config\" instead.\n");
        return end_at_once(0);
    }
    if (qarn_feature != 1 && qarn_is_startup_bin_cfg_present(gen.req) == 0) {
        if (debugging(QARN_DEBUG_STORE)) trace("Displaying Ascii file %s\n", gen.startup_path);
        if (cmd_token_id == QARN_TOKEN_SYNC_BODY) return refuse_without_copy();
        qarn_merge_cat_file(gen.startup_path);
        return end_at_once(0);
    }
    return kGoOn;
}

// The base of the store's URI is the lock response's first string without its suffix. One of fewer than four
// characters has no suffix to take off and counts as no response: the default URI then stands in.
Step derive_startup_uri(Generation &gen) {
    char *uri = gen.req->startup_uri;
    constexpr std::size_t kUriSize = sizeof gen.req->startup_uri;
    const auto *response = static_cast<const qarn_lock_response *>(startup_resp_data);
    const std::size_t n = response != nullptr ? strnlen(response->bin_uri, sizeof response->bin_uri) : 0;
    if (n < kUriSuffix) {
        copy_text(uri, kUriSize, QARN_DEFAULT_STARTUP_URI);
        return kGoOn;
    }
    gen.uri = allocate<char>(n);
    if (!gen.uri) {
        csm_qarn_sp_print("Failed to allocate memory for startup uri\n");
        return end_at_once(QARN_STATUS_FAILED);
    }
    std::memset(gen.uri.get(), 0, n);
    std::memcpy(gen.uri.get(), response->bin_uri, n - kUriSuffix);
    if (debugging(QARN_DEBUG_STORE)) {
        trace("URI BIN BASE LEN is %d\n", static_cast<int>(n));
        trace("URI BASE is %s Len is %d\n", gen.uri.get(), static_cast<int>(n - kUriSuffix));
    }
    copy_text(uri, kUriSize, gen.uri.get());
    return kGoOn;
}

Step open_startup_store(Generation &gen) {
    if (gen.cfg_source != QARN_SOURCE_STARTUP) return kGoOn;
    gen.req->info_flags |= QARN_INFO_STARTUP;
    if (const Step end = check_startup_store(gen)) return end;
    if (const uint32_t status = qarn_startup_cfg_lock(gen.handle, 1); status != 0) return end_at_once(status);
    return derive_startup_uri(gen);
}

void trace_service_lists() {
    if (!debugging(QARN_DEBUG_COLLECT)) return;
    trace("Num Saps:%d\n", num_saps);
    qarn_sap_list_pending_print(saps, num_saps);
    trace("Num Saps Excluded:%d\n", num_saps_exclude);
    qarn_sap_list_pending_print(saps_exclude, num_saps_exclude);
}

Step set_up_lists(Generation &gen) {
    qarn_merge_init(gen.req);
    qarn_ppm_merge_init(gen.req, gen.cfg_source);
    if (qarn_feature != 1 && !list_consumers(gen)) return end_at_once(QARN_STATUS_FAILED);
    sap_ctr = num_saps - num_saps_exclude;
    trace_service_lists();
    qarn_exclude_saps();
    if (num_saps <= 0) {
        csm_qarn_sp_print("No registered SAPS\n");
        return end_at_once(0);
    }
    return kGoOn;
}

Step build_request(Generation &gen) {
    gen.message = begin_request_message(gen.req, gen.cfg_source, gen.target);
    if (!gen.message.bytes) return common_exit(QARN_STATUS_FAILED);
    if (cfg_display == QARN_DISPLAY_INTERFACE && if_index_list_p->count == 0) return common_exit(0);
    complete_request_message(gen.message.bytes.get(), *gen.req, gen.uri ? gen.uri.get() : QARN_DEFAULT_STARTUP_URI);
    return kGoOn;
}

int32_t send_request(const Generation &gen, uint32_t sap) {
    return mts_send(gen.handle, MTS_ADDRESS_LOCAL, sap, QARN_OPC_REQUEST, gen.message.bytes.get(), gen.message.size, 0,
                    0, 0);
}

Step ask_all_consumers(const Generation &gen) {
    if (send_request(gen, 0) == 0) return kGoOn;
    const int err = errno;
    std::perror("Ascii cfg send notify failed");
    return end_at_once(QARN_STATUS_TRANSPORT(err));
}

Step ask_selected_services(const Generation &gen) {
    for (int32_t i = 0; i < num_saps; ++i) {
        if (saps[i] == 0) continue;
        const int32_t ret = send_request(gen, saps[i]);
        if (ret == 0) continue;
        const int err = errno;
        handle_error(ret);
        return end_at_once(QARN_STATUS_TRANSPORT(err));
    }
    return kGoOn;
}

// In-process services answer first, so that they are no longer awaited on the transport.
Step ask_services(const Generation &gen) {
    if (qarn_feature == 1 && qarn_feature_send_all == 0) {
        qarn_invoke_lib_funcs(gen.handle, gen.message.bytes.get(), gen.message.size);
    } else {
        qarn_invoke_all_lib_funcs(gen.handle, gen.message.bytes.get(), gen.message.size);
    }
    return qarn_feature == 1 ? ask_selected_services(gen) : ask_all_consumers(gen);
}

void report_silent_services() {
    csm_qarn_sp_print("The following SAPs did not respond within the expected timeframe\n");
    qarn_sap_list_pending_print(saps, num_saps);
    csm_qarn_sp_print("Printing Ascii configuration for remaining SAPs\n");
}

// SAP 0 marks empty slots, so it never counts as an answer.
void count_answer(uint32_t sap) {
    if (debugging(QARN_DEBUG_COLLECT)) trace("Received config from Sap:%d\n", sap);
    if (sap != 0 && qarn_sap_list_find(saps, num_saps, sap) >= 0) {
        qarn_sap_list_delete(saps, num_saps, sap);
        --sap_ctr;
    }
    if (debugging(QARN_DEBUG_STORE)) trace("Sap ctr = %d\n", sap_ctr);
    if (debugging(QARN_DEBUG_COLLECT)) qarn_sap_list_pending_print(saps, num_saps);
}

// False when something of the reply is missing, or was left out.
bool decode(const JoinedReply &reply) {
    const unsigned char *begin = reply.bytes.get();
    const Decoding decoding =
        decode_reply(begin + offsetof(qarn_cfg_reply, tlvs), begin + reply.size, merge_elem_table_p);
    return reply.is_whole && decoding.is_whole;
}

// Decode a service's complete reply, or say why not. What could be decoded is printed; that something is missing stands
// on standard error, not in the configuration. Returns whether the service is to be waited for no longer.
bool take_up_reply(Generation &gen, uint32_t sap) {
    const JoinedReply reply = take_reply(sap);
    if (!reply.bytes) {
        csm_qarn_sp_print("Unable to extract data for Sap %d\n", sap);
        gen.recv_err = QARN_STATUS_FAILED;
        return false;
    }
    count_answer(sap);
    if (const uint32_t status = load_u32(reply.bytes.get()); status != 0) {
        csm_qarn_sp_print("Sap %d returned failure code:0x%x\n", sap, status);
        gen.recv_err = QARN_STATUS_FAILED;
    } else if (!decode(reply)) {
        std::fprintf(stderr, "The configuration of Sap %u is incomplete\n", sap);
    }
    return true;
}

// Buffer the received fragment and release the message. Returns whether a reply was taken up.
bool take_up_fragment(Generation &gen, mts_msg &msg) {
    const auto *frag = static_cast<const qarn_cfg_frag *>(mts_payload_get(&msg));
    if (frag == nullptr) { // a message without a payload says nothing of any service
        mts_drop(gen.handle, &msg);
        return false;
    }
    const uint32_t sap = frag->sap;
    const uint32_t last = frag->last;
    if (debugging(QARN_DEBUG_STORE)) {
        trace("Received Message fragment from Sap %d of length %d, Last Message %d\n", sap, frag->len, last);
    }
    qarn_msg_table_add(frag);
    mts_drop(gen.handle, &msg);
    return last != 0 && take_up_reply(gen, sap);
}

// Receive until no reply is outstanding. The time-out counts from message to message, and a pending CLI server extends
// it once.
Step receive_replies(Generation &gen) {
    qarn_recv_opts options = {};
    options.word[MTS_OPT_ENABLE] = 1;
    options.word[MTS_OPT_TIMEOUT] = debugging(QARN_DEBUG_NO_TIMEOUT) ? 0 : kReceiveTimeout;
    options.word[MTS_OPT_OPCODE] = QARN_OPC_REPLY;
    mts_msg msg = {};
    bool waited = false;
    for (;;) {
        if (mts_recv(gen.handle, &msg, &options) != 0) {
            const int err = errno;
            if (err != ETIME) {
                std::perror("QARN recv");
                return end_at_once(QARN_STATUS_TRANSPORT(err));
            }
            if (!waited && qarn_sap_list_find(saps, num_saps, kSapCliServer) >= 0) {
                csm_qarn_sp_print("!Waiting on CLI Server to respond..\n");
                waited = true;
                continue;
            }
            report_silent_services();
            gen.recv_err = QARN_STATUS_FAILED;
            return kGoOn;
        }
        if (take_up_fragment(gen, msg) && sap_ctr <= 0) return kGoOn;
    }
}

Ending run(Generation &gen) {
    begin(gen);
    choose_display_variant(gen);
    if (const Step end = select_services(gen)) return *end;
    install_signal_handler(gen);
    if (const Step end = open_startup_store(gen)) return *end;
    if (const Step end = set_up_lists(gen)) return *end;
    StoreIndex store_index(merge_elem_table_p);
    if (const Step end = build_request(gen)) return *end;
    if (const Step end = ask_services(gen)) return *end;
    if (const Step end = receive_replies(gen)) return *end;
    return print_configuration(gen);
}

} // namespace

void release_startup_store(const Generation &gen) {
    if (start_cfg_locked != 0) qarn_startup_cfg_lock(gen.handle, 0);
}

} // namespace qarn

uint32_t qarn_generate(qarn_req *req, uint32_t cfg_source) {
    qarn::Generation gen(req, cfg_source);
    const qarn::Ending ending = qarn::run(gen);
    qarn::release_startup_store(gen);
    if (ending.at_once) return ending.status;
    gen.uri.reset();
    gen.message.bytes.reset();
    csm_qarn_sp_print("\n");
    return ending.status != 0 ? ending.status : gen.recv_err;
}
