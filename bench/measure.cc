#include "bench/measure.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace bench {
namespace {

double cpu_now() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double measure(const std::function<void(sim::Switch &)> &fill) {
    sim::Switch sw;
    sw.version = "1.0";
    sw.output = std::fopen("/dev/null", "w");
    fill(sw);
    sim::make_current(&sw);
    qarn_req req = {};
    req.valid = 1;
    req.mts_handle = sw.transport.open(1);
    std::strcpy(req.cmd_line, "show running-config");
    const double start = cpu_now();
    const bool failed = qarn_cli_run_cfg_gen(&req) != 0;
    const double spent = cpu_now() - start;
    return failed ? -1 : spent;
}

} // namespace

double command_cpu(const std::function<void(sim::Switch &)> &fill) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        const double spent = measure(fill);
        _exit(write(ends[1], &spent, sizeof spent) == sizeof spent ? 0 : 1);
    }
    close(ends[1]);
    double spent = -1;
    const bool reported = read(ends[0], &spent, sizeof spent) == sizeof spent;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!reported || spent < 0) throw std::runtime_error("the command failed");
    return spent;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace bench
