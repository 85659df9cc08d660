// How near a command comes to what any program must spend: against writing the same lines with fwrite, and against a
// program that only does what the tables demand (limit.h), in CPU time and memory. Runs alternate; medians.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "bench/limit.h"
#include "bench/measure.h"

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

void report_limit(const char *name, const Shape &shape, int runs) {
    const auto costs = bench::run_interleaved({bench::job(shape), bench::job(shape, bench::run_limit)}, runs);
    const bench::Cost library = bench::median_of(costs[0]), limit = bench::median_of(costs[1]);
    constexpr double kMega = 1e6;
    std::printf("| %s | %.1f | %.1f | x%.2f | %.1f | %.1f | x%.2f | %.2f | %.2f | %.0f %% |\n", name, library.cpu * 1e3,
                limit.cpu * 1e3, library.cpu / limit.cpu, library.memory / kMega, limit.memory / kMega,
                library.memory / limit.memory, library.text / kMega, limit.text / kMega,
                bench::noise_of(costs[0]) * 100);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv) {
    int runs = 5;
    std::string only;
    CLI::App app("CPU time and memory of commands against the least that they need.", "limits");
    app.add_option("--runs", runs)->check(CLI::Range(1, 1000));
    app.add_option("--only", only, "one size of switch")->check(CLI::IsMember({"S", "M", "L"}));
    CLI11_PARSE(app, argc, argv);
    try {
        if (only.empty()) {
            std::printf("| text | CPU ms | fwrite ms | ratio | noise |\n|---|---|---|---|---|\n");
            report_lines("20,000 interfaces, one text per service", texts(20000), runs);
            report_lines("20,000 interfaces, every line alone", single_lines(20000), runs);
            report_lines("5,000 interfaces, one text per service", texts(5000), runs);
            report_lines("5,000 interfaces, every line alone", single_lines(5000), runs);
            std::printf("\n");
        }
        std::printf(
            "| switch | CPU ms | limit ms | ratio | MB | limit MB | ratio | text MB | limit text MB | noise |\n"
            "|---|---|---|---|---|---|---|---|---|---|\n");
        const struct {
            const char *name;
            Shape shape;
        } sizes[] = {{"S", bench::small_switch()}, {"M", bench::medium_switch()}, {"L", bench::large_switch()}};
        for (const auto &size : sizes) {
            if (only.empty() || only == size.name) report_limit(size.name, size.shape, runs);
        }
    } catch (const std::exception &error) {
        std::fprintf(stderr, "limits: %s\n", error.what());
        return 1;
    }
    return 0;
}
