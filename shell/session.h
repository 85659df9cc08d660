// A session of the shell: the switch that it simulates and the VDC that commands run on.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "explain/recording/recording.h"
#include "shell/remote.h"
#include "sim/switch.h"

namespace shell {

// The options of the shell. Shells that the display of all VDCs starts find the same in their environment.
struct Options {
    std::vector<std::string> commands;
    std::optional<std::string> script; // file with commands
    bool stop_on_error = false;        // of a script, or of several commands
    std::optional<std::string> switch_file, store;
    std::optional<std::string> connect;     // address of the NATS server that joins the services; none: simulated ones
    std::optional<std::string> switch_name; // there; none: the description's
    std::optional<std::string> credentials; // file with user and certificates
    std::optional<uint16_t> vdc;
    std::optional<std::string> completed; // print what may come next in this command
    std::string display_option;           // ignored: a shell on the switch passes it
    uint32_t debug_mask = 0, filter_mode = 0;
    bool script_mode = false;
    bool no_warnings = false;          // of the description
    bool no_history = false;           // of the lines that are typed, in a file
    bool fail_partial = false;         // print nothing unless the configuration is complete
    std::optional<std::string> output; // file for the configuration, replaced only by a complete one
    bool plain = false;                // without the header lines that change
    std::string color = "auto";        // or "always" or "never"
    bool no_pager = false;
    bool mask = false;                       // hide what the description marks as secret
    uint32_t timeout_unit = 1000;            // milliseconds
    std::optional<double> deadline;          // seconds that a command may take
    std::optional<std::string> checked_file; // only report what is wrong with this description
    bool json = false;                       // as JSON
    bool list_switches = false;              // only list those that are registered
    std::optional<std::string> each_switch;  // folder for the texts of all switches
    std::optional<uint32_t> jobs;            // switches that are shown at a time
    std::optional<std::string> record;       // file for a recording of the command
    std::optional<std::string> replay;       // file with a recording, whose switch is simulated
    bool pace = false;                       // of a replay: with the pauses of the recorded command
};

inline constexpr char kNoOutput[] = "--output needs a command that shows something",
                      kNoDisplay[] = "--record needs a command that shows or explains a configuration";

class Request;
struct Line;

class Session {
  public:
    // Throws sim::DescriptionError, sim::StoreError or CommandError.
    // With `known`, it is that switch of the server.
    explicit Session(const Options &options, std::optional<KnownSwitch> known = {});
    // The switch of a recording; its display alone can be shown and explained.
    Session(const Options &options, std::shared_ptr<const explain::recording::Recording> recording);

    // Run one line and return the command's exit code.
    int execute(const std::string &line);
    const std::string &prompt() const { return prompt_; }
    bool is_over() const { return is_over_; }

    // For the commands.
    const Options &options() const { return options_; }
    sim::Switch &current() { return *switch_; }
    const explain::recording::Recording *recording() const { return recording_.get(); } // null: none is replayed
    // The server of --connect; null without it.
    Remote *remote() { return remote_ ? &*remote_ : nullptr; }
    // To be called before a command that asks services: finds those that are registered. Throws std::runtime_error.
    void find_services();
    // To be called before a display. Throws CommandError if the recording, if there is one, is of another display.
    void replay(Request &request) const;
    // From now on the commands are those of another switch at the server, which has the same description.
    void show_other_switch(const KnownSwitch &known);
    void switch_to(const std::string &name);
    void switch_back();
    void end() { is_over_ = true; }

  private:
    // Load a description, by default the built-in one. A session reports its warnings once.
    std::unique_ptr<sim::Switch> load(const std::optional<std::string> &file);
    // Load the description of the switch, and set its file. What the server alone knows is empty otherwise.
    std::unique_ptr<sim::Switch> load_whole(std::optional<std::string> &file);
    // Let the commands of a switch reach its services and its store, or the recording of them.
    void attach(sim::Switch &sw);
    // Report once that --mask has no effect on the switch in this file.
    void report_no_secrets(const sim::Switch &sw, const std::optional<std::string> &file);
    int run(const std::string &line);
    // Report the exception that is being handled. Returns the exit code.
    static int explain_failure(const std::string &line);
    void enter(std::optional<uint16_t> id); // without an id: the description's own VDC

    void check_files(const Line &line) const;
    void check(const Line &line) const;

    const Options &options_;
    std::shared_ptr<const explain::recording::Recording> recording_; // null: none is replayed
    std::optional<Remote> remote_;
    std::unique_ptr<sim::Switch> switch_;
    std::string prompt_;
    std::set<std::string> checked_;         // files whose warnings were reported
    std::set<std::string> without_secrets_; // files of which that was reported
    bool is_switched_ = false;              // by switchto, until switchback
    bool is_over_ = false;
};

} // namespace shell
