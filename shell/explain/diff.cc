// The command "diff". It ends with 0 if two configurations are equal, 1 if they differ, and 2 if they cannot be
// compared.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <vector>

#include "explain/diff/compare.h"
#include "shell/actions.h"
#include "shell/answer.h"
#include "shell/command_error.h"
#include "shell/exit_code.h"
#include "shell/explain/sides.h"
#include "shell/held_output.h"
#include "shell/json.h"
#include "shell/message.h"
#include "shell/run.h"
#include "sim/notation.h"

namespace shell {
namespace {

using explain::Change;

enum : int { kEqual = 0, kDifferent = 1, kTrouble = 2 };

struct Sides {
    Side before, now;
    std::string form; // of both displays

    explicit Sides(const Line &line)
        : before(side_in(line, 0)), now(side_in(line, 1)), form(before.is_recording() ? before.form() : now.form()) {
        if (before.is_recording() && now.is_recording() && before.form() != now.form())
            throw CommandError("the recordings are of different displays");
    }

  private:
    static Side side_in(const Line &line, std::size_t at) {
        return {std::string(file_named(line.arguments[at])), line.arguments[at]};
    }
};

// Equal parts of a configuration that is not all there prove nothing.
// Returns an exit code other than 0 if there is nothing to compare.
int write_whole(Session &session, const Sides &sides, Side::What what, const HeldOutput &before, const HeldOutput &now,
                const Deadline &deadline) {
    int code = sides.before.write(session, sides.form, what, before.descriptor(), deadline);
    if (code == kExitComplete) code = sides.now.write(session, sides.form, what, now.descriptor(), deadline);
    if (code == kExitComplete) return kEqual;
    if (code == kExitInterrupted) return code;
    print_message("nothing was compared");
    return kTrouble;
}

std::string place_of(const Change &change) {
    std::string place = change.element;
    if (!change.block.empty()) place.append(place.empty() ? "" : " ").append("under ").append(change.block);
    return sim::printable(place.empty() ? "header" : place);
}

std::string follows(const std::string &name) {
    return name.empty() ? "first" : "after " + name;
}

void append(std::string &text, const Change &change) {
    text.append("  ").append(name_of(change.kind)).append(" ").append(place_of(change));
    if (change.kind == Change::Kind::kMoved)
        text.append(": ").append(follows(change.after_now)).append("; before, ").append(follows(change.after_before));
    text += "\n";
    for (const std::string &line : change.lines)
        text.append("    ").append(line).append("\n");
}

std::string text_of(const std::vector<Change> &changes) {
    std::string text, service;
    for (const Change &change : changes) {
        if (text.empty() || change.service != service) text.append(sim::printable(change.service)).append("\n");
        service = change.service;
        append(text, change);
    }
    return text;
}

std::string json_of(const Change &change) {
    std::string json = "{\"change\": " + json_text(name_of(change.kind));
    json.append(", \"service\": ").append(json_text(change.service));
    json.append(", \"element\": ").append(json_text(change.element));
    json.append(", \"under\": ").append(json_text(change.block));
    if (change.kind == Change::Kind::kMoved) {
        json.append(", \"after\": ").append(json_text(change.after_now));
        json.append(", \"before_after\": ").append(json_text(change.after_before));
    } else {
        std::vector<std::string> lines;
        lines.reserve(change.lines.size());
        for (const std::string &line : change.lines)
            lines.push_back(json_text(line));
        json.append(", \"lines\": ").append(json_array(lines));
    }
    return json + "}";
}

std::string json_of(const std::vector<Change> &changes) {
    std::vector<std::string> members;
    members.reserve(changes.size());
    for (const Change &change : changes)
        members.push_back(json_of(change));
    return "\"changes\": " + json_array(members);
}

// Debian's diff, whose exit codes are those of this command.
int run_diff(const Sides &sides, const HeldOutput &before, const HeldOutput &now, int output) {
    const std::string first = "/dev/fd/" + std::to_string(before.descriptor());
    const std::string second = "/dev/fd/" + std::to_string(now.descriptor());
    const pid_t child = fork();
    if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        dup2(output, STDOUT_FILENO);
        for (const int descriptor : {before.descriptor(), now.descriptor()})
            fcntl(descriptor, F_SETFD, 0);
        execlp("diff", "diff", "-u", "--label", sides.before.name().c_str(), "--label", sides.now.name().c_str(), "--",
               first.c_str(), second.c_str(), nullptr);
        print_message("cannot run diff: %s; it is in the package diffutils", strerror(errno));
        _exit(kTrouble);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : kTrouble;
}

// What goes wrong must not look like a difference.
template <typename Compare>
int with_trouble(const Compare &compare) {
    try {
        return compare();
    } catch (const CommandError &) {
        throw;
    } catch (const std::exception &error) {
        print_message("%s", sim::printable(error.what()).c_str());
        return kTrouble;
    }
}

int show_changes(Session &session, const Line &line, const std::string &text, int result, const Deadline &deadline) {
    const int shown = show_lines(session, line, {text, "", 0}, kExitComplete, deadline);
    return shown == kExitComplete ? result : shown == kExitBrokenPipe ? shown : kTrouble;
}

int compare_parts(Session &session, const Line &line) {
    const Sides sides(line);
    session.find_services();
    const Deadline deadline = deadline_of(session);
    const HeldOutput before({}), now({});
    if (const int code = write_whole(session, sides, Side::What::kParts, before, now, deadline); code != kEqual)
        return code;
    const std::vector<Change> changes =
        compare(explain::parts_in(before.contents()), explain::parts_in(now.contents()));
    const int result = changes.empty() ? kEqual : kDifferent;
    if (!line.is_json()) return show_changes(session, line, text_of(changes), result, deadline);
    return show_members(session, line, json_of(changes), result, deadline) == result ? result : kTrouble;
}

int compare_lines(Session &session, const Line &line) {
    const Sides sides(line);
    session.find_services();
    const Deadline deadline = deadline_of(session);
    const HeldOutput before({}), now({}), difference({});
    if (const int code = write_whole(session, sides, Side::What::kText, before, now, deadline); code != kEqual)
        return code;
    const int result = run_diff(sides, before, now, difference.descriptor());
    if (result == kTrouble) return kTrouble;
    return show_changes(session, line, difference.contents(), result, deadline);
}

} // namespace

int compare_configurations(Session &session, const Line &line) {
    return with_trouble([&] { return compare_parts(session, line); });
}

int compare_texts(Session &session, const Line &line) {
    return with_trouble([&] { return compare_lines(session, line); });
}

} // namespace shell
