// The switch of a session. Entering a VDC loads the switch's description, which holds the VDC map, and then the VDC's
// own description, if it has one; commands then run on the VDC's switch, which keeps the map of the whole.
#include "shell/session.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <new>
#include <utility>

#include "explain/recording/replay.h"
#include "shell/built_in_switch.h"
#include "shell/document.h"
#include "shell/exit_code.h"
#include "shell/held_output.h"
#include "shell/line.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/report.h"
#include "shell/request.h"
#include "shell/run.h"
#include "shell/waiting.h"
#include "sim/check/check.h"
#include "sim/description.h"
#include "sim/notation.h"
#include "sim/secret.h"
#include "sim/store.h"

namespace shell {
namespace {

std::unique_ptr<sim::Switch> load_switch(const std::optional<std::string> &file) {
    auto sw = std::make_unique<sim::Switch>();
    if (file) {
        sim::load_description(*sw, *file);
    } else {
        sim::load_description_text(*sw, kBuiltInSwitch, "leaf.yaml (built in)");
    }
    return sw;
}

std::string list_of_vdcs(const sim::Switch &sw) {
    std::string list;
    for (const sim::Vdc &vdc : sw.vdcs) {
        list += (list.empty() ? "; the VDCs are " : ", ") + std::to_string(vdc.id) + " (" + vdc.name +
                (vdc.active ? ")" : ", not active)");
    }
    return list;
}

template <typename Value>
const sim::Vdc &active_vdc(const sim::Switch &sw, Value sim::Vdc::*member, const Value &wanted,
                           const std::string &name) {
    for (const sim::Vdc &vdc : sw.vdcs) {
        if (vdc.*member != wanted) continue;
        if (!vdc.active) throw CommandError("VDC " + name + " is not active" + list_of_vdcs(sw));
        return vdc;
    }
    throw CommandError("unknown VDC " + name + list_of_vdcs(sw));
}

// As a user can type it; control characters are replaced.
std::string word_for_sh(const std::string &text) {
    constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:,@%=";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
    std::string word = "'";
    for (const char c : sim::printable(text))
        word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + "'";
}

void report_warnings(const sim::Switch &sw, const std::string &file) {
    const std::size_t count = sim::check_switch(sw).size();
    if (count == 0) return;
    print_message("%s: %zu warning%s; see %s with %s --check %s", sim::printable(file).c_str(), count,
                  count == 1 ? "" : "s", count == 1 ? "it" : "them", word_for_sh(program_invocation_name).c_str(),
                  word_for_sh(file).c_str());
}

} // namespace

std::unique_ptr<sim::Switch> Session::load(const std::optional<std::string> &file) {
    auto sw = load_switch(file);
    if (file && !options_.no_warnings && checked_.insert(*file).second) report_warnings(*sw, *file);
    return sw;
}

// A shell of another VDC reports it of that VDC's own description only.
void Session::report_no_secrets(const sim::Switch &sw, const std::optional<std::string> &file) {
    const bool is_reported = options_.no_warnings && file == options_.switch_file;
    if (!file || is_reported || sim::has_secrets(sw) || !without_secrets_.insert(*file).second) return;
    print_message("%s marks no element as secret; --mask hides nothing of it", sim::printable(*file).c_str());
}

Session::Session(const Options &options, std::optional<KnownSwitch> known) : options_(options) {
    if (options_.connect && options_.mask && !options_.record)
        throw CommandError("--mask cannot be used with --connect: a request does not ask to hide secrets");
    if (options_.connect) remote_.emplace(options_, std::move(known));
    enter(options_.vdc);
}

Session::Session(const Options &options, std::shared_ptr<const explain::recording::Recording> recording)
    : options_(options), recording_(std::move(recording)) {
    enter({});
}

std::unique_ptr<sim::Switch> Session::load_whole(std::optional<std::string> &file) {
    if (recording_) return explain::recording::switch_of(*recording_);
    const auto description = remote_ ? remote_->description() : Remote::Description{.file = options_.switch_file};
    file = description.file;
    auto sw = description.is_missing ? std::make_unique<sim::Switch>() : load(file);
    sw->has_unknown_interfaces = description.is_missing;
    if (remote_) remote_->adopt(*sw);
    return sw;
}

void Session::attach(sim::Switch &sw) {
    using explain::recording::Pace, explain::recording::replay_on;
    if (recording_) return replay_on(sw, recording_, options_.pace ? Pace::kRecorded : Pace::kFull);
    if (remote_) remote_->attach(sw);
    sim::use_store(sw, sim::folder_of_vdc(options_.store.value_or(sw.store), sw.vdc));
}

void Session::enter(std::optional<uint16_t> id) {
    std::optional<std::string> file;
    std::unique_ptr<sim::Switch> sw = load_whole(file);
    std::string name = sw->name;
    if (id) {
        const sim::Vdc vdc = active_vdc(*sw, &sim::Vdc::id, *id, std::to_string(*id));
        const std::vector<sim::Vdc> map = sw->vdcs;
        if (!vdc.switch_file.empty()) {
            file = vdc.switch_file;
            sw = load(file);
        }
        sw->vdc = vdc.id;
        sw->vdcs = map;
        name = vdc.name;
    }
    if (options_.mask && !options_.record) report_no_secrets(*sw, file);
    sw->hides_secrets = options_.mask && !remote_;
    attach(*sw);
    sw->output = stdout;
    sw->transport.unit = std::chrono::milliseconds(options_.timeout_unit);
    std::error_code error;
    sw->shell_program = std::filesystem::read_symlink("/proc/self/exe", error);
    sw->conversion_library = "libddas.so";
    setenv("SYSMGR_VDC_ID", std::to_string(sw->vdc).c_str(), 1);
    sim::make_current(sw.get());
    switch_ = std::move(sw);
    prompt_ = name;
}

void Session::find_services() {
    if (remote_) remote_->find_services(*switch_);
}

void Session::show_other_switch(const KnownSwitch &known) {
    remote_->adopt(*switch_, known);
    remote_->attach(*switch_);
    prompt_ = known.name;
}

void Session::switch_to(const std::string &name) {
    enter(active_vdc(*switch_, &sim::Vdc::name, name, sim::quoted(name)).id);
    is_switched_ = true;
}

void Session::switch_back() {
    if (!is_switched_) throw CommandError("already in the initial VDC");
    enter(options_.vdc);
    is_switched_ = false;
}

void Session::replay(Request &request) const {
    if (!recording_) return;
    const std::string &display = recording_->command.display;
    if (display != request.line)
        throw CommandError("the recording is of " + sim::quoted(display) + ", and has no other display");
    request.replayed = recording_.get();
}

// A file that is named twice would keep only one of its contents.
void Session::check_files(const Line &line) const {
    std::vector<std::string> files;
    for (const auto &file : {options_.record, options_.output, options_.replay})
        if (file) files.push_back(*file);
    if (!line.filters.empty() && !line.filters.back().file.empty()) files.emplace_back(line.filters.back().file);
    std::set<std::filesystem::path> known;
    for (const std::string &file : files) {
        std::error_code error;
        if (!known.insert(std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error)).second)
            throw CommandError(sim::quoted(file) + " is named twice");
    }
}

void Session::check(const Line &line) const {
    check_files(line);
    if (options_.record == "-") throw CommandError("--record needs a file");
    if (options_.output && !line.has_text) throw CommandError(kNoOutput);
    if (options_.output && line.is_saved()) throw CommandError("--output and \"save\" both name a file");
    if (options_.output && line.is_page()) throw CommandError("--output and \"html\" both name a file");
    if (options_.record && !line.has_display()) throw CommandError(kNoDisplay);
    if (recording_ && !line.has_display())
        throw CommandError("a recording has only the display " + sim::quoted(recording_->command.display) +
                           " and its explanations");
}

int Session::run(const std::string &line) {
    const Line matched = match(line);
    check(matched);
    show_waits(*switch_);
    return matched.action(*this, matched);
}

int Session::explain_failure(const std::string &line) {
    try {
        throw;
    } catch (const CommandError &error) {
        report(error, line);
    } catch (const sim::DescriptionError &error) { // of another VDC; this VDC stays current
        print_message("%s", error.what());
    } catch (const std::bad_alloc &) {
        print_message("not enough memory for the command");
        return kExitFailure;
    } catch (const ListingInterrupted &error) {
        print_message("%s", error.what());
        return kExitInterrupted;
    } catch (const std::runtime_error &error) { // its store is unusable
        print_message("%s", error.what());
        return kExitFailure;
    }
    return kExitUsage;
}

// A command that was not run, or that failed before it showed anything, still answers with a JSON object.
int Session::execute(const std::string &line) {
    std::optional<MessageLog> log;
    if (!options_.output && asks_for_json(line)) log.emplace();
    try {
        return run(line);
    } catch (...) {
        const int code = explain_failure(line);
        if (!log) return code;
        std::fputs(Document(command_of(line), *switch_).finish(code).c_str(), stdout);
        return flush_output() ? code : kExitFailure;
    }
}

} // namespace shell
