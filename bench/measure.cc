// Runs and their costs.
#include "bench/measure.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

// A field of the process status, in bytes.
double status_field(const std::string &name) {
    std::ifstream status("/proc/self/status");
    std::string field;
    double kilobytes = 0;
    while (status >> field) {
        if (field == name + ":" && status >> kilobytes) return kilobytes * 1024;
    }
    throw std::runtime_error("no " + name + " in the process status");
}

void reset_peak_memory() {
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    if (!file) throw std::runtime_error("cannot reset the memory peak");
}

// A file on a memory file system, as a stream.
std::FILE *open_memory(int file) {
    std::FILE *out = fdopen(file, "w");
    if (out == nullptr) throw std::runtime_error("cannot open a file in memory");
    return out;
}

// The cost of what `write` does, until all of it is in the file.
template <typename Write>
Cost measure(std::FILE *out, Write write) {
    malloc_trim(0);
    reset_peak_memory();
    const double memory = status_field("VmRSS");
    const double start = cpu_now();
    write();
    std::fflush(out);
    const double spent = cpu_now() - start;
    return {spent, status_field("VmHWM") - memory, static_cast<double>(std::ftell(out))};
}

Cost run(const Shape &shape, Program program, std::FILE *out) {
    sim::Switch sw;
    sw.output = out;
    const uint32_t handle = set_up(sw, shape);
    sim::make_current(&sw);
    return measure(out, [&] { program(shape, handle, out); });
}

Cost write_lines(const std::string &text) {
    std::vector<std::pair<std::size_t, std::size_t>> lines; // begin and length
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        end = text.find('\n', begin);
        end = end == std::string::npos ? text.size() : end + 1;
        lines.emplace_back(begin, end - begin);
    }
    std::FILE *out = open_memory(memfd_create("lines", 0));
    return measure(out, [&] {
        for (const auto &[begin, length] : lines)
            std::fwrite(text.data() + begin, 1, length, out);
    });
}

// Runs in a process of its own.
Cost run_apart(const Job &work) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("cannot create a pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("cannot start a process");
    if (child == 0) {
        Cost cost{-1, 0, 0};
        try {
            cost = work();
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
    }
    close(ends[1]);
    Cost cost;
    const bool reported = read(ends[0], &cost, sizeof cost) == sizeof cost;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!reported || cost.cpu < 0) throw std::runtime_error("a run failed");
    return cost;
}

} // namespace

double cpu_now() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void run_library(const Shape &shape, uint32_t handle, std::FILE *) {
    qarn_req req = {};
    req.valid = 1;
    req.mts_handle = handle;
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
    std::strcpy(req.cmd_line, "show running-config");
    if (shape.feature_keys > 0) req.sap = kFeatureSap;
    if (qarn_cli_run_cfg_gen(&req) != 0) throw std::runtime_error("the command failed");
}

Job apart(Job work) {
    return [work = std::move(work)] { return run_apart(work); };
}

Job job(const Shape &shape, Program program) {
    return apart([=] { return run(shape, program, open_memory(memfd_create("configuration", 0))); });
}

Job line_writer(const std::string &text) {
    return apart([=] { return write_lines(text); });
}

std::string text_of(const Shape &shape) {
    const int file = memfd_create("configuration", 0);
    const Cost cost = run_apart([&] { return run(shape, run_library, open_memory(file)); });
    std::string text(static_cast<std::size_t>(cost.text), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("the text cannot be read back");
    }
    close(file);
    return text;
}

std::vector<std::vector<Cost>> run_interleaved(const std::vector<Job> &jobs, int runs) {
    std::vector<std::vector<Cost>> costs(jobs.size());
    for (int run = 0; run < runs; ++run) {
        for (std::size_t i = 0; i < jobs.size(); ++i)
            costs[i].push_back(jobs[i]());
    }
    return costs;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

Cost median_of(const std::vector<Cost> &costs) {
    const auto middle = [&](double Cost::*field) {
        std::vector<double> values;
        values.reserve(costs.size());
        for (const Cost &cost : costs)
            values.push_back(cost.*field);
        return median(values);
    };
    return {middle(&Cost::cpu), middle(&Cost::memory), middle(&Cost::text)};
}

double noise_of(const std::vector<Cost> &costs) {
    const double middle = median_of(costs).cpu;
    double greatest = 0;
    for (const Cost &cost : costs)
        greatest = std::max(greatest, std::abs(cost.cpu - middle));
    return greatest / middle;
}

} // namespace bench
