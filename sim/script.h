// What a test may observe and control: the calls of the platform functions, their outcomes, the programs and functions
// that they start, and malformed TLV arrays. Without a test, a switch records nothing and works normally.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qarncli/callback_table.h>
#include <qarncli/request.h>

#include "sim/tlv.h"

namespace sim {

// A scripted result, which a platform function returns instead of doing its work. A function that returns a pointer
// returns null.
struct Outcome {
    int64_t result = 0;
    int error = 0; // errno
    int after = 0; // number of calls that do their work before this outcome
};

// The part of a switch that records calls and scripts their outcomes.
struct Script {
    // The record: one line "function(arguments)" per call of the library, in order.
    bool recording = false;
    std::vector<std::string> calls;
    std::function<void(const std::string &)> on_call; // while recording: with every call, before it does its work
    int tlv_vars_depth = 0; // calls of init_global_tlv_vars that no reset_global_tlv_vars has matched yet

    std::map<std::string, std::deque<Outcome>> scripted; // by function: the outcomes to come, in order
    void next(const std::string &function, Outcome outcome) { scripted[function].push_back(outcome); }

    // These run in place of the real program or function.
    std::function<uint32_t(qarn_req *)> final_callback;                           // without it the status is 0
    std::map<std::string, std::function<void(qarn_cb_args *)>> library_functions; // in-process services by name
    std::function<int32_t(const std::vector<std::string> &)> run_program;

    // Most platform functions call this first: it records the call and returns the scripted outcome, if there is one,
    // with errno set to the outcome's error.
    std::optional<Outcome> enter(const char *function);
    std::optional<Outcome> enter(const char *function, const char *format, ...) __attribute__((format(printf, 3, 4)));
    // The second half of `enter`, for the functions that are not recorded.
    std::optional<Outcome> take_outcome(const char *function);

  private:
    void record(const std::string &call);
};

// The part of the transport that fills while Script::recording.
struct TransportRecord {
    struct Sent {
        uint32_t handle, address, sap, opcode;
        Bytes payload;
    };
    std::vector<Sent> sent;
    std::vector<uint32_t> timeouts; // of every receive
};

// Malformed arrays, such as a faulty service may send.
Tlv lie(Tlv tlv, uint32_t tag, uint32_t length, std::string_view value); // append a TLV whose length is not the value's
Tlv announce(Tlv tlv, uint32_t count);                                   // in place of the true number of TLVs
Tlv announce_size(Tlv tlv, uint32_t size);                               // in place of the true size of the array

} // namespace sim
