// The exchange with the services: the request goes out, the fragments of all services come back interleaved, and each
// complete reply is decoded at once. The errno of a transport failure is saved before anything is reported, because
// reporting may change it.
#include <qarncli/callbacks.h>
#include <qarncli/exchange.h>
#include <qarncli/globals.h>
#include <qarncli/reply_table.h>
#include <qarncli/service_list.h>
#include <qarncli/status.h>

#include <cerrno>
#include <cstdio>

#include "base/bytes.h"
#include "base/trace.h"
#include "collect/exchange.h"
#include "outcome/outcome.h"
#include "platform/csm.h"
#include "platform/mts.h"

namespace qarn {
namespace {

constexpr uint32_t kSapCliServer = 296;   // gets a second wait
constexpr uint32_t kReceiveTimeout = 120; // between two messages, in the transport's unit

int32_t send_request(uint32_t handle, uint32_t sap, const RequestMessage &message) {
    return mts_send(handle, MTS_ADDRESS_LOCAL, sap, QARN_OPC_REQUEST, message.bytes.get(), message.size, 0, 0, 0);
}

uint32_t ask_all_consumers(uint32_t handle, const RequestMessage &message) {
    if (send_request(handle, 0, message) == 0) return 0;
    const int err = errno;
    std::perror("Ascii cfg send notify failed");
    return QARN_STATUS_TRANSPORT(err);
}

uint32_t ask_listed_services(uint32_t handle, const RequestMessage &message) {
    for (int32_t i = 0; i < num_saps; ++i) {
        if (saps[i] == 0) continue;
        const int32_t ret = send_request(handle, saps[i], message);
        if (ret == 0) continue;
        const int err = errno;
        handle_error(ret);
        return QARN_STATUS_TRANSPORT(err);
    }
    return 0;
}

qarn_recv_opts reply_options() {
    qarn_recv_opts options = {};
    options.word[MTS_OPT_ENABLE] = 1;
    options.word[MTS_OPT_TIMEOUT] = debugging(QARN_DEBUG_NO_TIMEOUT) ? 0 : kReceiveTimeout;
    options.word[MTS_OPT_OPCODE] = QARN_OPC_REPLY;
    return options;
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

void print_reason(const qarn_outcome_service &service) {
    const unsigned received = service.received, expected = service.expected;
    if (service.state == QARN_OUTCOME_CUT_SHORT) {
        std::fprintf(stderr, "%u of %u bytes arrived\n", received, expected);
    } else if (service.state == QARN_OUTCOME_BROKEN) {
        std::fprintf(stderr, "it cannot be read from byte %u of %u on\n", received, expected);
    } else if (service.state == QARN_OUTCOME_SKIPPED) {
        std::fprintf(stderr, "%u of its %u TLVs cannot be used\n", expected - received, expected);
    } else if (received > expected) {
        std::fprintf(stderr, "it has more than the %u TLVs that it announced\n", expected);
    } else {
        std::fprintf(stderr, "it has %u of the %u TLVs that it announced\n", received, expected);
    }
}

// What is decoded will be printed; a line on standard error, not in the configuration, reports that something is
// missing.
void note_decoded(uint32_t sap, qarn_outcome_service became) {
    became.sap = sap;
    note_service(became);
    if (became.state == QARN_OUTCOME_ANSWERED) return;
    std::fprintf(stderr, "The configuration of Sap %u is incomplete: ", sap);
    print_reason(became);
}

// One command's replies, from the first receive to the last.
class Replies {
  public:
    Replies(uint32_t handle, DecodeReply decode) : handle_(handle), decode_(decode) {}

    Collected receive_all() {
        for (;;) {
            if (mts_recv(handle_, &message_, &options_) == 0) {
                if (accept_fragment() && sap_ctr <= 0) return collected_;
            } else if (ends_wait(errno)) {
                return collected_;
            }
        }
    }

  private:
    // Whether a receive that failed with `err` ends the wait. The time-out starts again with every message; a CLI
    // server that is still awaited extends it once.
    bool ends_wait(int err) {
        if (err != ETIME) {
            std::perror("QARN recv");
            collected_.broken = QARN_STATUS_TRANSPORT(err);
            return true;
        }
        if (!waited_ && qarn_sap_list_find(saps, num_saps, kSapCliServer) >= 0) {
            csm_qarn_sp_print("!Waiting on CLI Server to respond..\n");
            waited_ = true;
            return false;
        }
        report_silent_services();
        collected_.missing = QARN_STATUS_FAILED;
        return true;
    }

    // Buffer the received fragment and release the message. Returns whether a reply is complete.
    bool accept_fragment() {
        const auto *frag = static_cast<const qarn_cfg_frag *>(mts_payload_get(&message_));
        if (frag == nullptr) { // a message without a payload comes from no service
            mts_drop(handle_, &message_);
            return false;
        }
        const uint32_t sap = frag->sap;
        const uint32_t last = frag->last;
        if (debugging(QARN_DEBUG_STORE)) {
            trace("Received Message fragment from Sap %d of length %d, Last Message %d\n", sap, frag->len, last);
        }
        qarn_msg_table_add(frag);
        mts_drop(handle_, &message_);
        return last != 0 && accept_reply(sap);
    }

    // Decode a service's complete reply, or report why that is impossible. False when there is no reply: the service is
    // then still awaited.
    bool accept_reply(uint32_t sap) {
        const JoinedReply reply = take_reply(sap);
        if (!reply.bytes) {
            csm_qarn_sp_print("Unable to extract data for Sap %d\n", sap);
            note_service(sap, QARN_OUTCOME_NOT_EXTRACTABLE);
            collected_.missing = QARN_STATUS_FAILED;
            return false;
        }
        count_answer(sap);
        if (const uint32_t status = load_u32(reply.bytes.get()); status != 0) {
            csm_qarn_sp_print("Sap %d returned failure code:0x%x\n", sap, status);
            note_service(sap, QARN_OUTCOME_FAILED, status);
            collected_.missing = QARN_STATUS_FAILED;
        } else {
            note_decoded(sap, decode_(reply));
        }
        return true;
    }

    uint32_t handle_;
    DecodeReply decode_;
    qarn_recv_opts options_ = reply_options();
    mts_msg message_ = {};
    bool waited_ = false;
    Collected collected_;
};

} // namespace

// In-process services answer first, so that they are no longer awaited on the transport.
uint32_t ask_services(uint32_t handle, const RequestMessage &message) {
    if (qarn_feature == 1 && qarn_feature_send_all == 0) {
        qarn_invoke_lib_funcs(handle, message.bytes.get(), message.size);
    } else {
        qarn_invoke_all_lib_funcs(handle, message.bytes.get(), message.size);
    }
    return qarn_feature == 1 ? ask_listed_services(handle, message) : ask_all_consumers(handle, message);
}

Collected receive_replies(uint32_t handle, DecodeReply decode) {
    return Replies(handle, decode).receive_all();
}

} // namespace qarn

void handle_error(int32_t ret) {
    switch (errno) {
        case EPIPE:
            csm_qarn_sp_print("Service not enabled\n");
            break;
        case ENOTCONN:
            csm_qarn_sp_print("Module not available\n");
            break;
        default:
            csm_qarn_sp_print("ERROR: send failed ret=%d errno %d\n", ret, errno);
            break;
    }
}
