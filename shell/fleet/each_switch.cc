// One process per switch goes on from where the shell is: it connects and runs the command. So a switch costs a
// connection and a display, but no start of a shell. A description of all switches is loaded once, before.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "shell/actions.h"
#include "shell/command_error.h"
#include "shell/exit_code.h"
#include "shell/fleet/fleet.h"
#include "shell/fleet/member.h"
#include "shell/fleet/progress.h"
#include "shell/json.h"
#include "shell/line.h"
#include "shell/message.h"
#include "shell/registered.h"
#include "shell/run.h"
#include "shell/switch_file.h"
#include "shell/table.h"
#include "sim/notation.h"

namespace shell {
namespace {

using State = Collected::State;

constexpr std::size_t kMostRemarks = 8; // in a line of the table
constexpr std::chrono::milliseconds kPatience(250);
constexpr std::size_t kMostRunning = 64;

// Some wait for their services while others work.
std::size_t usual_jobs() {
    return std::max(4U, 2 * std::thread::hardware_concurrency());
}

const char *name_of(State state) {
    switch (state) {
        case State::kComplete:
            return "complete";
        case State::kIncomplete:
            return "incomplete";
        default:
            return "failed";
    }
}

// The folder is made if its parent is there.
void check_folder(const std::string &folder) {
    struct stat status = {};
    mkdir(folder.c_str(), S_IRWXU);
    const bool is_there = stat(folder.c_str(), &status) == 0;
    if (is_there && !S_ISDIR(status.st_mode)) errno = ENOTDIR;
    if (!is_there || !S_ISDIR(status.st_mode) || access(folder.c_str(), W_OK | X_OK) != 0)
        throw std::runtime_error("cannot write to the folder " + sim::printable(folder) + ": " + std::strerror(errno));
}

void check_command(const Options &options) {
    if (options.commands.size() != 1) throw CommandError("--each-switch needs exactly one command");
    const std::size_t begin = options.commands[0].find_first_not_of(" \t");
    if (begin == std::string::npos || options.commands[0][begin] == '!')
        throw CommandError("--each-switch needs a command, and -c has none");
    const Line line = match(options.commands[0]);
    if (!line.has_text) throw CommandError("--each-switch needs a command that shows something");
    if (line.is_explained || line.action == compare_configurations || line.action == compare_texts)
        throw CommandError("--each-switch keeps configurations, and this command shows none");
    if (line.is_saved()) throw CommandError("--each-switch and \"save\" both name a file");
    if (line.is_page()) throw CommandError("--each-switch and \"html\" both name a file");
}

// Returns false after a message about the command.
bool is_usable(const Options &options) {
    try {
        check_command(options);
        return true;
    } catch (const CommandError &error) {
        report(error, options.commands[0]); // there is at least one
        return false;
    }
}

class Fleet {
  public:
    // `options`, which a session has too, get the output file of each process before it begins.
    Fleet(Options &options, Session *session, const std::vector<KnownSwitch> &members)
        : options_(options),
          session_(session),
          members_(members),
          jobs_(options.jobs.value_or(static_cast<uint32_t>(usual_jobs()))),
          results_(members.size()),
          progress_(members.size()) {}

    // False if an interruption has ended it.
    bool collect() {
        const SignalsDuringChild signals;
        while (next_ < members_.size() || !running_.empty()) {
            while (running_.size() < jobs_ && next_ < members_.size())
                start(signals);
            if (take_ended()) continue;
            const int signal = signals.wait(may_begin_more() ? std::optional(kPatience) : std::nullopt);
            for (std::size_t more = 0; signal <= 0 && more < jobs_ && may_begin_more(); ++more)
                start(signals);
            if (signal <= 0 || signal == SIGCHLD) continue;
            end_all();
            if (signal == SIGINT) return false;
            progress_.erase();
            signals.deliver(signal);
        }
        progress_.erase();
        return true;
    }

    const std::vector<Collected> &results() const { return results_; }

  private:
    struct Running {
        Running(std::size_t position, const Options &options, Session *session, const KnownSwitch &member,
                const SignalsDuringChild &signals)
            : at(position), collection(options, session, member, signals) {}

        std::size_t at;
        Collection collection;
    };

    std::string path_of(std::size_t at) const {
        return file_of_switch(*options_.each_switch, members_[at].name, ".cfg");
    }

    // While nobody ends, those that run wait for their services and must not hold up the rest.
    bool may_begin_more() const { return !options_.jobs && next_ < members_.size() && running_.size() < kMostRunning; }

    void start(const SignalsDuringChild &signals) {
        options_.output = path_of(next_);
        running_.emplace_back(next_, options_, session_, members_[next_], signals);
        ++next_;
    }

    // Whether any process has ended.
    bool take_ended() {
        return std::erase_if(running_, [this](Running &one) {
                   if (!one.collection.has_ended()) return false;
                   take(one);
                   return true;
               }) > 0;
    }

    void take(const Running &one) {
        results_[one.at] = one.collection.result(path_of(one.at));
        const Collected &result = results_[one.at];
        ++done_;
        if (result.state != State::kComplete) ++incomplete_;
        progress_.erase();
        print_messages(one.at, result);
        progress_.show(done_, incomplete_);
    }

    // Each line names the switch.
    void print_messages(std::size_t at, const Collected &result) const {
        std::string lines;
        for (std::size_t begin = 0; begin < result.messages.size();) {
            const std::size_t end = std::min(result.messages.find('\n', begin), result.messages.size());
            lines += sim::printable(members_[at].name) + ": " + result.messages.substr(begin, end - begin) + '\n';
            begin = end + 1;
        }
        write_messages(lines);
    }

    void end_all() {
        for (const Running &one : running_)
            one.collection.interrupt();
        for (Running &one : running_)
            one.collection.end();
    }

    Options &options_;
    Session *session_;
    const std::vector<KnownSwitch> &members_;
    std::size_t jobs_, next_ = 0, done_ = 0, incomplete_ = 0;
    std::list<Running> running_;
    std::vector<Collected> results_;
    Progress progress_;
};

std::string joined(const std::vector<std::string> &remarks, std::size_t most) {
    std::string text;
    for (std::size_t i = 0; i < std::min(remarks.size(), most); ++i)
        text += (i == 0 ? "" : ", ") + remarks[i];
    return remarks.size() > most ? text + " and " + std::to_string(remarks.size() - most) + " more" : text;
}

Table table_of(const std::vector<KnownSwitch> &members, const std::vector<Collected> &results, std::size_t most) {
    Table table({{"Switch"}, {"Result"}, {"Bytes", true}, {"Milliseconds", true}, {"Missing or reason"}});
    for (std::size_t at = 0; at < members.size(); ++at) {
        const Collected &result = results[at];
        table.add({members[at].name, name_of(result.state),
                   result.state == State::kComplete ? std::to_string(result.bytes) : "",
                   std::to_string(result.milliseconds), joined(result.remarks, most)});
    }
    return table;
}

std::size_t count(const std::vector<Collected> &results, State state) {
    return static_cast<std::size_t>(std::ranges::count(results, state, &Collected::state));
}

void print(const Options &options, const Table &table, const std::vector<Collected> &results, uint64_t milliseconds) {
    const std::size_t complete = count(results, State::kComplete), incomplete = count(results, State::kIncomplete);
    const std::size_t failed = results.size() - complete - incomplete;
    uint64_t bytes = 0;
    for (const Collected &result : results)
        bytes += result.bytes;
    if (options.json) {
        std::printf(
            "{\"version\": 1, \"complete\": %zu, \"incomplete\": %zu, \"failed\": %zu, \"bytes\": %zu,\n"
            " \"milliseconds\": %zu, \"rows\": %s}\n",
            complete, incomplete, failed, static_cast<std::size_t>(bytes), static_cast<std::size_t>(milliseconds),
            table.json().c_str());
    } else {
        std::printf("%s%zu switches: %zu complete, %zu incomplete, %zu failed; %zu bytes in %zu ms\n",
                    table.text().c_str(), results.size(), complete, incomplete, failed, static_cast<std::size_t>(bytes),
                    static_cast<std::size_t>(milliseconds));
    }
}

} // namespace

int show_each_switch(Options options) {
    const auto begin = std::chrono::steady_clock::now();
    if (!is_usable(options)) return kExitUsage;
    const std::vector<KnownSwitch> members = members_of(registered_at(access_of(options), {}, kPatienceForLists));
    if (members.empty()) throw std::runtime_error("no switch is registered at " + *options.connect);
    check_folder(*options.each_switch);
    options.output.emplace();
    std::optional<Session> session; // with the description of all
    if (options.switch_file && !std::filesystem::is_directory(*options.switch_file)) {
        session.emplace(options, members[0]);
    }
    Fleet fleet(options, session ? &*session : nullptr, members);
    if (!fleet.collect()) {
        print_message("session interrupted");
        return kExitInterrupted;
    }
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    print(options, table_of(members, fleet.results(), options.json ? SIZE_MAX : kMostRemarks), fleet.results(),
          static_cast<uint64_t>(time.count()));
    if (!flush_output()) return kExitFailure;
    return count(fleet.results(), State::kComplete) == members.size() ? kExitComplete : kExitIncomplete;
}

} // namespace shell
