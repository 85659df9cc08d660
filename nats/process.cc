#include "nats/process.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace nats {
namespace {

constexpr int kFieldsBeforeStart = 19; // of /proc/PID/stat, after the name

std::string this_machine() {
    std::string boot;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
    std::error_code error;
    const std::string space = std::filesystem::read_symlink("/proc/self/ns/pid", error).string();
    return boot.empty() || space.empty() ? "" : boot + ' ' + space;
}

// 0: that cannot be seen.
uint64_t start_of(int64_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t name_end = line.rfind(')'); // the name may have any byte
    if (name_end == std::string::npos) return 0;
    std::istringstream fields(line.substr(name_end + 1));
    std::string skipped;
    for (int i = 0; i < kFieldsBeforeStart; ++i)
        fields >> skipped;
    uint64_t start = 0;
    fields >> start;
    return start;
}

} // namespace

ProcessIdentity own_process() {
    return {.machine = this_machine(), .pid = getpid(), .started = start_of(getpid())};
}

bool has_ended_here(const ProcessIdentity &process) {
    if (process.machine.empty() || process.machine != this_machine() || process.pid <= 0) return false;
    if (::kill(static_cast<pid_t>(process.pid), 0) != 0 && errno == ESRCH) return true;
    const uint64_t start = start_of(process.pid);
    return start != 0 && process.started != 0 && start != process.started;
}

} // namespace nats
