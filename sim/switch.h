// The simulated switch: everything that libqarncli expects of the platform around it, as one plain object. A program
// fills it from a switch description (description.h), a test fills it in code; then it is made current, and the
// platform functions (one source file per platform service) act on it.
#pragma once

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

#include "platform/vdc.h"
#include "sim/facts.h"
#include "sim/mts.h"
#include "sim/observer.h"
#include "sim/output_view.h"
#include "sim/script.h"
#include "sim/service.h"

namespace sim {

inline constexpr uint16_t kDefaultVdc = VDC_DEFAULT_ID;

struct Interface {
    uint32_t index;
    std::string name; // as it follows the keyword "interface"
    uint32_t block;   // element id of its interface block element
    uint32_t vsan = 1;
    std::string port_profile; // inherited, or empty
    bool port_channel_sub_interface = false;
    std::vector<uint32_t> members; // of a port channel
    uint32_t line = 0;             // where the switch description lists it
};

struct Vdc {
    uint16_t id;
    std::string name;
    bool active = true;
    std::string switch_file = {}; // its own description; empty: the description that lists the VDC
    uint32_t line = 0;
};

struct SwitchProfile {
    uint32_t status = 0;
    std::optional<std::string> head_text, sync_cfg;
};

// A row of the callback table, as the switch description lists it.
struct InProcess {
    std::string function, library;
    uint32_t sap, line; // SAP 0: the function belongs to no service
    uint32_t flags;
};

struct ElementReference {
    uint32_t uuid, id, line;
};

// The display of a feature.
struct Feature {
    uint32_t row; // of the shell's tables
    std::vector<uint32_t> saps;
    std::vector<ElementReference> elements; // those that it shows; id 0: all of the service
    uint32_t line;
};

// A name that commands use.
struct Name {
    const char *owner; // for messages
    std::string name;
    uint32_t line;
};

struct Switch : Script {
    std::string name = "switch";
    std::optional<std::string> version; // of the running software
    std::deque<Service> services;
    // Whether loading a description fills in the elements of the service; without it, of every service.
    std::function<bool(const std::string &service)> wants_elements;
    std::vector<Interface> interfaces;                // in display order; blocks in the order of their first interface
    bool has_unknown_interfaces = false;              // which the list lacks, although services may configure them
    std::map<std::string, std::string> port_profiles; // name -> lines for an interface that inherits it
    std::map<std::string, Feature> features;
    std::vector<Name> names; // of a description, in the order of reading
    std::vector<InProcess> in_process;
    std::string description_folder; // ends with a slash; empty: the description is no file
    uint32_t services_line = 0;     // where the description lists the services

    Transport transport;

    // Where the output routine writes: this stream, or `printed` when it is null.
    std::FILE *output = nullptr;
    std::string printed;

    uint32_t vdc = kDefaultVdc, vdc_type = 0, card = 182;
    std::vector<Vdc> vdcs = {{kDefaultVdc, "switch", true}};
    std::string store;                               // folder of the saved configuration (store.h); empty: none
    std::string ascii_startup_dir, bin_startup_dir;  // empty: the system manager knows none
    std::optional<qarn_lock_response> lock_response; // used without a store; none: no response
    std::vector<uint32_t> modules;                   // line-card states
    std::map<uint32_t, std::string> error_texts;     // in addition to those of syserr2str
    std::optional<SwitchProfile> switch_profile;
    // Of the shells that the current command has started for other VDCs.
    struct ShellResult {
        std::string vdc; // its id
        int32_t result;
    };
    std::vector<ShellResult> shell_results;
    std::string shell_program;      // runs where the platform's own shell is not installed; empty: none
    std::string conversion_library; // is opened where the platform's own is not installed; empty: none

    OutputView view;
    std::vector<Observer *> observers; // of the command that runs
    std::shared_ptr<Facts> facts;      // of an earlier command, in place of what is outside; null: none
    // The fact that this function finds, or the earlier command's. Observers learn it.
    Fact learn(FactKind kind, const std::function<Fact()> &find);
    bool hides_secrets = false;                      // of secret elements (secret.h)
    bool has_refused_a_text = false;                 // the saved one, in which no element can be found
    std::map<std::string, uint32_t> secret_profiles; // port profiles of secret elements: words of each line that stay

    Service &service(std::string name, uint32_t sap, uint32_t uuid);
    Service *find_service(std::string_view wanted);
    std::string error_text(uint32_t code) const; // of a status
    const Interface *find_interface(uint32_t index) const;
    const Interface *find_interface(std::string_view wanted) const; // case-insensitive

    uint32_t invoked_sap = 0; // of the row of the callback table whose function is being invoked

    // The interface manager's answers to the library; kept until the switch ends.
    struct Chain;
    std::vector<std::shared_ptr<Chain>> chains;

    // Position of each interface, for find_interface; rebuilt when the number of interfaces has changed.
    mutable std::unordered_map<uint32_t, std::size_t> positions;
    mutable std::size_t num_positioned = 0;
};

// The switch that the platform functions act on; set it before calling the library. After make_current(nullptr) it is
// an empty switch.
Switch &current();
void make_current(Switch *sw);

} // namespace sim
