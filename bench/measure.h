// Measuring programs that write a switch's configuration: CPU time and memory, each run in a process of its own, so
// that nothing of an earlier run is left.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bench/workload.h"

namespace bench {

struct Cost {
    double cpu = 0;    // seconds
    double memory = 0; // bytes at the highest, above what the process had before
    double text = 0;   // bytes written
};

// Writes the configuration of the current switch, from the messages that wait for the handle to the last byte in `out`.
using Program = void (*)(const Shape &shape, uint32_t handle, std::FILE *out);

// The library: "show running-config", or the feature's configuration when the shape has one.
void run_library(const Shape &shape, uint32_t handle, std::FILE *out);

// One run, in a process of its own. The text goes to a file on a memory file system.
using Job = std::function<Cost()>;
Job job(const Shape &shape, Program program = run_library);
// The same for work of any kind.
Job apart(Job work);
// Writes the text line by line with fwrite.
Job line_writer(const std::string &text);

// The CPU time that this process has taken, in seconds.
double cpu_now();

// What the library writes.
std::string text_of(const Shape &shape);

// Runs of all jobs in turn, `runs` times; per job the costs of its runs.
std::vector<std::vector<Cost>> run_interleaved(const std::vector<Job> &jobs, int runs);

double median(std::vector<double> values);
// Medians of each cost.
Cost median_of(const std::vector<Cost> &costs);
// The greatest deviation of a run's CPU time from the median, as a fraction of the median.
double noise_of(const std::vector<Cost> &costs);

} // namespace bench
