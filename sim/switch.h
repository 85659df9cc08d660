// The simulated switch: everything that libqarncli expects of the platform around it, as one plain object. A program
// fills it from a switch description (description.h), a test fills it in code; then it is made current and the
// platform functions (one source file per platform service) act on it.
//
// Every platform function goes through Switch::enter, which records the call and lets a test script its outcome.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <qarncli/qarncli.h>

#include "sim/tlv.h"

struct mts_msg;

namespace sim {

// ---- Services -------------------------------------------------------------------------------------------------------

struct Dependency {
    std::uint32_t uuid, elem_id, type = QARN_DEP_ORDER;
};
struct Key {
    std::uint32_t index; // interface index or VLAN id
    std::string map;     // header; empty: the name is the header
    std::string name;
};

// One configuration element, as data.
struct Element {
    std::uint32_t id = 0, level = 0, property = 0;
    bool every_view = false;  // carries the property bit of the view that a command asks for, but for the VLANs
    std::string port_profile; // set: belongs to that port profile, and is all that a port-profile display shows
    std::uint32_t val_type = QARN_VAL_TEXT;
    std::string text;
    std::vector<std::pair<std::uint32_t, std::string>> intf_texts; // with QARN_VAL_COMMAND sent as command messages
    std::vector<Key> keys;                                         // of the VLAN service: index is the VLAN id
    std::vector<std::pair<std::string, std::string>> key_strings;
    std::vector<Dependency> dependencies;
};

// A service answers every request: from its elements, or as a test scripts it.
struct Service {
    std::string name;
    std::uint32_t sap = 0, uuid = 0;
    bool consumer = true; // registered for configuration requests; otherwise reached by its SAP only
    std::vector<Element> elements;

    std::uint32_t status = 0;      // non-zero: the reply's failure status
    bool is_silent = false;        // never answers on the transport
    std::size_t fragment_size = 0; // bytes of data per fragment; 0: the transport's setting
    // Replaces the elements: returns the whole qarn_cfg_reply for a request.
    std::function<Bytes(const qarn_cfg_req_msg &)> script;

    Service &replies(const Tlv &tlv); // this stream, with `status`
    Service &silent();
    Element &element(std::uint32_t id, std::uint32_t level, std::uint32_t property = 0);
};

// The reply of a service that answers from its elements: those that the request's filters leave.
Bytes answer_from_elements(const Service &service, const qarn_cfg_req_msg &request);
// What a service answers: what a test has scripted, what was saved, or its elements, with its failure status.
Bytes reply_of(const Service &service, const qarn_cfg_req_msg &request);

// ---- Message transport ----------------------------------------------------------------------------------------------

struct Message {
    std::uint32_t opcode;
    Bytes payload;
};

struct Transport {
    std::chrono::nanoseconds unit = std::chrono::seconds(1); // of the receive time-out
    std::size_t fragment_size = 4096;                        // bytes of reply per fragment

    struct Sent {
        std::uint32_t handle, address, sap, opcode;
        Bytes payload;
    };
    std::vector<Sent> sent;              // while Switch::recording
    std::vector<std::uint32_t> timeouts; // of every receive, while Switch::recording

    // A handle with a SAP of its own.
    std::uint32_t open(std::uint32_t sap);
    // Queue a message for a handle ahead of everything the services still have to say.
    void deliver(std::uint32_t handle, std::uint32_t opcode, Bytes payload);

    struct Endpoint {
        std::uint32_t sap;
        std::deque<Message> queue;                // messages in order
        std::vector<std::deque<Message>> streams; // one per replying service, received in turn
        std::size_t turn = 0;
    };
    std::map<std::uint32_t, Endpoint> endpoints; // by handle
};

// Cut a reply into fragments as the service `sap` would; total_len is the reply's size unless given.
std::deque<Message> fragments(std::uint32_t sap, const Bytes &reply, std::size_t size,
                              std::optional<std::uint32_t> total_len = {});
Bytes fragment(std::uint32_t sap, bool last, std::uint32_t total_len, const Bytes &data);

// The request that a received message carries, for in-process services; null when it is no whole request.
const qarn_cfg_req_msg *request_in(const mts_msg *msg);

// ---- The rest of the switch -----------------------------------------------------------------------------------------

struct Interface {
    std::uint32_t index;
    std::string name;    // as it follows the keyword "interface"
    std::uint32_t block; // element id of its interface block element
    std::uint32_t vsan = 1;
    std::string port_profile; // inherited, or empty
    bool port_channel_sub_interface = false;
    std::vector<std::uint32_t> members; // of a port channel
};

struct Vdc {
    std::uint16_t id;
    std::string name;
    bool active = true;
    std::string switch_file = {}; // a description of its own; empty: the one that lists the VDC
};

struct SwitchProfile {
    std::uint32_t status = 0;
    std::optional<std::string> head_text, sync_cfg;
};

// What a test lets a platform function do instead of its work. Functions that return a pointer return null.
struct Outcome {
    std::int64_t result = 0;
    int error = 0; // errno
    int after = 0; // calls that still do their work before
};

struct Switch {
    std::string name = "switch";
    std::optional<std::string> version; // of the running software
    std::deque<Service> services;
    std::vector<Interface> interfaces;                // in display order; blocks in the order of their first interface
    std::map<std::string, std::string> port_profiles; // name -> lines for an interface that inherits it
    std::map<std::string, std::uint32_t> features;    // feature name -> row of the shell's SAP table

    Transport transport;

    // Where the output routine writes: a stream, or when that is null the text below.
    std::FILE *output = nullptr;
    std::string printed;

    std::uint32_t vdc = 1, vdc_type = 0, card = 182;
    std::vector<Vdc> vdcs = {{1, "switch", true}};
    std::string store;                                // folder of the saved configuration (store.h); empty: none
    std::string ascii_startup_dir, bin_startup_dir;   // empty: the system manager knows none
    std::optional<qarn_lock_response> lock_response;  // without a store; none: the exchange answers nothing
    std::vector<std::uint32_t> modules;               // line-card states
    std::map<std::uint32_t, std::string> error_texts; // besides those of syserr2str
    std::optional<SwitchProfile> switch_profile;
    std::string shell_program; // runs where the platform's own shell is not installed; empty: none

    // Hooks of tests.
    std::function<std::uint32_t(qarn_req *)> final_callback;                      // else 0
    std::map<std::string, std::function<void(qarn_cb_args *)>> library_functions; // in-process services by name
    std::function<std::int32_t(const std::vector<std::string> &)> run_program;    // instead of starting it
    std::function<void(const std::string &)> on_call; // while recording: with every call, before it does its work

    // The record: one line "function(arguments)" per call of the library, in order.
    bool recording = false;
    std::vector<std::string> calls;
    std::map<std::string, std::deque<Outcome>> scripted; // by function, one entry per coming call

    Service &service(std::string name, std::uint32_t sap, std::uint32_t uuid);
    Service *find_service(std::string_view name);
    const Interface *find_interface(std::uint32_t index) const;
    const Interface *find_interface(std::string_view name) const; // case-insensitive
    void next(const std::string &function, Outcome outcome) { scripted[function].push_back(outcome); }

    // Called by every platform function: records "function(arguments)" and takes a scripted outcome, if any.
    // Sets errno to the outcome's error.
    std::optional<Outcome> enter(const char *function) {
        if (recording) record(std::string(function) + "()");
        return take_outcome(function);
    }
    std::optional<Outcome> enter(const char *function, const char *format, ...) __attribute__((format(printf, 3, 4)));
    void record(const std::string &call);
    // The second half of `enter`, for the functions that are not recorded.
    std::optional<Outcome> take_outcome(const char *function);

    std::uint32_t invoked_sap = 0; // of the callback table's row whose function is being invoked

    int tlv_vars_depth = 0; // init_global_tlv_vars calls that reset_global_tlv_vars has not matched yet

    // Made by the interface manager for the library; kept until the switch ends.
    struct Chain;
    std::vector<std::shared_ptr<Chain>> chains;

    // Position of each interface, for find_interface; made again when the number of interfaces has changed.
    mutable std::unordered_map<std::uint32_t, std::size_t> positions;
    mutable std::size_t num_positioned = 0;
};

// The switch that the platform functions act on; set before the library is called. An empty one stands in for null.
Switch &current();
void make_current(Switch *sw);

// The shell's option words, as the command that runs next finds them.
struct ShellOptions {
    std::uint32_t filter_mode = 0, script_mode = 0, generic_option = 0;
};
void set_shell_options(const ShellOptions &options);

// Rows of the shell's tables: SAPs of a feature row with its key word, and the (uuid, elem_id) pairs it shows.
void set_sap_row(std::uint32_t row, const std::vector<std::uint32_t> &saps, std::uint32_t key_word);
void set_feature_row(std::uint32_t row, const std::vector<std::pair<std::uint32_t, std::uint32_t>> &pairs);

// One more row of the callback table; false when the table is full or a name too long for it.
bool add_callback_row(std::uint32_t sap, const std::string &function, const std::string &library, std::uint32_t flags);

// Empty the shell's tables and the callback table.
void clear_tables();

} // namespace sim
