// How long a person waits for the first line of the configuration. The header is out as soon as the last reply is
// decoded; the time from there to the first line of the first level is what the gathering and the passes over all
// levels take.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/measure.h"
#include "bench/program.h"

namespace {

// CPU times, in seconds, at which the command has written its header and the text after it.
struct Times {
    double header = 0, first_line = 0;
};

// The version line is the last one of the header.
ssize_t watch(void *cookie, const char *text, std::size_t size) {
    auto &times = *static_cast<Times *>(cookie);
    if (times.header == 0) {
        if (std::string_view(text, size).find("version 1.0") != std::string_view::npos) times.header = bench::cpu_now();
    } else if (times.first_line == 0) {
        times.first_line = bench::cpu_now();
    }
    return static_cast<ssize_t>(size);
}

bench::Cost run(const bench::Shape &shape) {
    Times times;
    std::FILE *out = fopencookie(&times, "w", {.read = nullptr, .write = watch, .seek = nullptr, .close = nullptr});
    if (out == nullptr || std::setvbuf(out, nullptr, _IONBF, 0) != 0) throw std::runtime_error("cannot watch the text");
    sim::Switch sw;
    sw.output = out;
    const uint32_t handle = bench::set_up(sw, shape);
    sim::make_current(&sw);
    bench::run_library(shape, handle, out);
    if (times.first_line == 0) throw std::runtime_error("the command wrote no configuration");
    return {.cpu = times.first_line - times.header};
}

void report(const char *name, const bench::Shape &shape, int runs) {
    const auto costs = bench::run_interleaved({bench::apart([&] { return run(shape); }), bench::job(shape)}, runs);
    const double first = bench::median_of(costs[0]).cpu, whole = bench::median_of(costs[1]).cpu;
    std::printf("| %s | %.2f | %.1f | %.1f %% | %.0f %% |\n", name, first * 1e3, whole * 1e3, first / whole * 100,
                bench::noise_of(costs[0]) * 100);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("first_line", [&] {
        int runs = 7;
        std::string only;
        CLI::App app("CPU time from the header to the first line of the configuration.", "first_line");
        app.add_option("--runs", runs)->check(CLI::Range(1, 1000));
        app.add_option("--only", only, "one switch")->check(CLI::IsMember(bench::shape_names()));
        CLI11_PARSE(app, argc, argv);
        std::printf("| switch | first line ms | whole command ms | share | noise |\n|---|---|---|---|---|\n");
        for (const bench::NamedShape &named : bench::named_shapes()) {
            if (only.empty() || only == named.name) report(named.name, named.shape, runs);
        }
        return 0;
    });
}
