// How near a command comes to what any program must spend, in CPU time and memory: against writing the same lines with
// fwrite, and against the floor (floor.h). Runs alternate; the report shows medians.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "bench/floor.h"
#include "bench/measure.h"
#include "bench/program.h"

namespace {

using bench::Shape;

// 22 lines for an interface from three services: in one text per service, or every line in an element of its own.
Shape texts(int interfaces) {
    return {.interfaces = interfaces, .services = 3, .shared_lines = 22};
}
Shape single_lines(int interfaces) {
    return {.interfaces = interfaces, .services = 3, .shared_lines = 22, .lines_apart = true};
}

void report_lines(const char *name, const Shape &shape, int runs) {
    const auto costs = bench::run_interleaved({bench::job(shape), bench::line_writer(bench::text_of(shape))}, runs);
    const bench::Cost library = bench::median_of(costs[0]), plain = bench::median_of(costs[1]);
    std::printf("| %s | %.1f | %.1f | x%.2f | %.0f %% |\n", name, library.cpu * 1e3, plain.cpu * 1e3,
                library.cpu / plain.cpu, bench::noise_of(costs[0]) * 100);
    std::fflush(stdout);
}

void report_floor(const char *name, const Shape &shape, int runs) {
    const auto costs = bench::run_interleaved({bench::job(shape), bench::job(shape, bench::run_floor)}, runs);
    const bench::Cost library = bench::median_of(costs[0]), floor = bench::median_of(costs[1]);
    constexpr double kMega = 1e6;
    std::printf("| %s | %.1f | %.1f | x%.2f | %.1f | %.1f | x%.2f | %.2f | %.2f | %.0f %% |\n", name, library.cpu * 1e3,
                floor.cpu * 1e3, library.cpu / floor.cpu, library.memory / kMega, floor.memory / kMega,
                library.memory / floor.memory, library.text / kMega, floor.text / kMega,
                bench::noise_of(costs[0]) * 100);
    std::fflush(stdout);
}

void report_texts(int runs) {
    std::printf("| text | CPU ms | fwrite ms | ratio | noise |\n|---|---|---|---|---|\n");
    report_lines("20,000 interfaces, one text per service", texts(20000), runs);
    report_lines("20,000 interfaces, every line alone", single_lines(20000), runs);
    report_lines("5,000 interfaces, one text per service", texts(5000), runs);
    report_lines("5,000 interfaces, every line alone", single_lines(5000), runs);
    std::printf("\n");
}

void report_switches(const std::string &only, int runs) {
    std::printf(
        "| switch | CPU ms | floor ms | ratio | MB | floor MB | ratio | text MB | floor text MB | noise |\n"
        "|---|---|---|---|---|---|---|---|---|---|\n");
    for (const bench::NamedShape &named : bench::named_shapes()) {
        if (only.empty() || only == named.name) report_floor(named.name, named.shape, runs);
    }
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("versus_floor", [&] {
        int runs = 7;
        std::string only;
        CLI::App app("CPU time and memory of commands against the least that they need.", "versus_floor");
        app.add_option("--runs", runs)->check(CLI::Range(1, 1000));
        app.add_option("--only", only, "one switch")->check(CLI::IsMember(bench::shape_names()));
        CLI11_PARSE(app, argc, argv);
        if (only.empty()) report_texts(runs);
        report_switches(only, runs);
        return 0;
    });
}
