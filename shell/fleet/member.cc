// The process writes its record into a file without a name: the exit code in the first line, then the messages. It
// holds signals back, except while it waits for the command, which SIGINT ends: so it never ends between the moments
// in which the text gets a temporary name and takes the place of the old one.
#include "shell/fleet/member.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "shell/exit_code.h"
#include "shell/message.h"
#include "shell/report.h"

namespace shell {
namespace {

using std::chrono::milliseconds;

void hold_signals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, nullptr);
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

// The process of one switch.
int collect(const Options &options, Session *session, const KnownSwitch &member, const HeldOutput &record,
            const HeldOutput &errors) {
    hold_signals();
    umask(S_IRWXG | S_IRWXO); // a new text is its owner's only
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        dup2(errors.descriptor(), stream);
    const MessageLog log;
    std::string text;
    try {
        std::optional<Session> own;
        if (session != nullptr) {
            session->show_other_switch(member);
        } else {
            session = &own.emplace(options, member);
        }
        text = std::to_string(session->execute(options.commands[0]));
    } catch (const std::exception &error) {
        print_message("%s", error.what());
        text = std::to_string(kExitFailure);
    }
    for (const std::string &message : logged_messages())
        text += '\n' + message;
    record.write(text);
    return kExitComplete;
}

std::string way_of_ending(int wait_status) {
    if (WIFSIGNALED(wait_status)) return std::string("its process was ended: ") + strsignal(WTERMSIG(wait_status));
    return "its process ended early";
}

} // namespace

std::vector<KnownSwitch> members_of(const transport::Registrations &registrations) {
    std::vector<KnownSwitch> members;
    const auto now = std::chrono::steady_clock::now();
    for (const nats::Registration &one : registrations) {
        if (members.empty() || members.back().name != one.place.switch_name)
            members.push_back({.name = one.place.switch_name, .registered = {}, .read_at = now});
        members.back().registered.push_back(one);
    }
    return members;
}

Collection::Collection(const Options &options, Session *session, const KnownSwitch &member,
                       const SignalsDuringChild &signals) {
    process_.start(signals, [&] { _exit(collect(options, session, member, record_, errors_)); });
}

bool Collection::has_ended() {
    process_.reap();
    return !process_.is_running();
}

Collected Collection::result(const std::string &path) const {
    Collected collected;
    collected.milliseconds = static_cast<uint64_t>(
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin_).count());
    collected.messages = errors_.contents();
    std::vector<std::string> record = lines_of(record_.contents());
    if (record.empty()) {
        collected.remarks = {process_.is_made() ? way_of_ending(*process_.status()) : "no process could be started"};
        return collected;
    }
    const std::string code = record[0];
    record.erase(record.begin());
    struct stat file = {};
    if (code == std::to_string(kExitComplete)) {
        collected.state = Collected::State::kComplete;
        if (stat(path.c_str(), &file) == 0) collected.bytes = static_cast<uint64_t>(file.st_size);
    } else if (code == std::to_string(kExitIncomplete)) {
        collected.state = Collected::State::kIncomplete;
        collected.remarks = missing_in(record);
    } else {
        collected.remarks = {record.empty() ? "status " + code : record[0]};
    }
    return collected;
}

} // namespace shell
