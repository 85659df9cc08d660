// Whether the functions of in-process services can be called. The start of a library may do anything, so each library
// is loaded in a child process: a start that ends the process or never ends is a finding, not the end of the check.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>
#include <vector>

#include "sim/check/subjects.h"
#include "sim/child.h"
#include "sim/library.h"
#include "sim/notation.h"

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;
using Rows = std::vector<const InProcess *>;

constexpr std::chrono::seconds kPatience{2};
constexpr char kLost[] = "; what the function answers is missing from every display";
// A report is kLoaded with a sign for each function, or kFailed with the reason, and kEnd.
constexpr char kLoaded = 'L', kFailed = 'F', kFound = '+', kMissing = '-', kEnd = '\0';

std::string try_library(const std::string &library, const std::string &folder, const Rows &rows) {
    const Library loaded = open_library(library, folder, 0);
    if (loaded.handle == nullptr) return kFailed + loaded.error + kEnd;
    std::string report(1, kLoaded);
    for (const InProcess *row : rows)
        report += ::dlsym(loaded.handle, row->function.c_str()) != nullptr ? kFound : kMissing;
    return report + kEnd;
}

// What the library prints is no finding, and a process that it starts ends with its group.
void isolate(pid_t parent) {
    end_with_parent(parent);
    setpgid(0, 0);
    const struct rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, stream);
}

// A process of its own that loads a library and reports through a pipe.
class Trial {
  public:
    Trial(const std::string &library, const std::string &folder, const Rows &rows) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) fail();
        const pid_t parent = getpid();
        child_ = fork();
        if (child_ < 0) {
            close(ends[0]);
            close(ends[1]);
            fail();
        }
        if (child_ == 0) {
            isolate(parent);
            const std::string report = try_library(library, folder, rows);
            _exit(write(ends[1], report.data(), report.size()) < 0 ? 1 : 0);
        }
        close(ends[1]);
        pipe_ = ends[0];
    }
    ~Trial() {
        kill(-child_, SIGKILL); // the group, if the child has made it
        kill(child_, SIGKILL);
        close(pipe_);
        while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    Trial(const Trial &) = delete;
    Trial &operator=(const Trial &) = delete;

    // The report without its end. Without a report, is_late() says why.
    std::optional<std::string> report() {
        const Clock::time_point deadline = Clock::now() + kPatience;
        std::string received;
        while (is_ready_before(deadline)) {
            char block[4096];
            const ssize_t got = read(pipe_, block, sizeof block);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return {};
            received.append(block, static_cast<std::size_t>(got));
            if (const std::size_t end = received.find(kEnd); end != std::string::npos) return received.substr(0, end);
        }
        is_late_ = true;
        return {};
    }
    bool is_late() const { return is_late_; }

  private:
    [[noreturn]] static void fail() {
        throw std::runtime_error(std::string("cannot start a process: ") + std::strerror(errno));
    }

    bool is_ready_before(Clock::time_point deadline) const {
        struct pollfd file = {pipe_, POLLIN, 0};
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            const int ready = poll(&file, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
            if (ready >= 0 || errno != EINTR) return ready > 0;
        }
    }

    pid_t child_ = -1;
    int pipe_ = -1;
    bool is_late_ = false;
};

void report_start(const std::string &library, const Rows &rows, bool is_late, Report &report) {
    for (const InProcess *row : rows) {
        report.warn("library-start", row->line,
                    "library " + quoted(library) + " cannot be loaded: its start " +
                        (is_late ? "did not end in time; a display that loads it hangs"
                                 : "ended the process; a display that loads it ends there"),
                    "correct the library, or name another one");
    }
}

void report_functions(const std::string &library, const Rows &rows, const std::string &signs, Report &report) {
    for (std::size_t i = 0; i < rows.size() && i < signs.size(); ++i) {
        if (signs[i] == kFound) continue;
        report.warn("function-not-found", rows[i]->line,
                    "library " + quoted(library) + " has no function " + quoted(rows[i]->function) + kLost,
                    "correct the name of the function");
    }
}

void check_library(const std::string &library, const std::string &folder, const Rows &rows, Report &report) {
    Trial trial(library, folder, rows);
    const std::optional<std::string> result = trial.report();
    if (!result || result->empty()) return report_start(library, rows, trial.is_late(), report);
    if (result->front() == kLoaded) return report_functions(library, rows, result->substr(1), report);
    for (const InProcess *row : rows) {
        report.warn("library-not-loaded", row->line, "library cannot be loaded: " + result->substr(1) + kLost,
                    "correct the name, or put the library there");
    }
}

} // namespace

void check_in_process(const Switch &sw, Report &report) {
    std::map<std::string, Rows> libraries;
    for (const InProcess &row : sw.in_process)
        libraries[row.library].push_back(&row);
    for (const auto &[library, rows] : libraries)
        check_library(library, sw.description_folder, rows, report);
}

} // namespace sim
