// How the cost of a command grows: every dimension of a switch alone, and those that multiply, doubled up to the
// largest switch. A row shows how CPU time and text grow with a doubling; "floor" is how the CPU time of the floor
// program (floor.h) grows with the same one. Runs of all sizes alternate; the report shows medians.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/floor.h"
#include "bench/measure.h"
#include "bench/program.h"

namespace {

using bench::Chain;
using bench::Shape;

// What a doubling adds to a command: text to print, or only something to read.
enum class Adds { kText, kReading };

struct Row {
    const char *name;
    Adds adds;
    Shape (*shape)(int size); // at a size of 1, 2 and 4; 4 is the largest switch
    bool has_floor = true;    // false where the floor program would search every table for every key
};

const Row kRows[] = {
    {"interfaces", Adds::kText,
     [](int n) { return Shape{.interfaces = 5000 * n, .services = 20, .interface_elements = 1}; }},
    {"elements", Adds::kText, [](int n) { return Shape{.services = 60, .elements = 271 * n}; }},
    {"contributions", Adds::kText,
     [](int n) { return Shape{.interfaces = 20000, .services = 10, .interface_elements = n}; }},
    {"VLANs", Adds::kText, [](int n) { return Shape{.services = 60, .vlans = n < 4 ? 1024 * n : 4094}; }},
    {"keys", Adds::kText, [](int n) { return Shape{.services = 40, .keys = 2500 * n}; }},
    {"key strings", Adds::kText, [](int n) { return Shape{.services = 10, .keys = 5000, .key_elements = 2 * n}; }},
    {"services", Adds::kText,
     [](int n) {
         return Shape{.interfaces = 5000, .services = 15 * n, .interface_elements = 1, .elements = 200, .keys = 500};
     }},
    {"dependency edges", Adds::kReading, [](int n) { return Shape{.services = 60, .elements = 500, .edges = 8 * n}; }},
    {"fragments per reply", Adds::kReading,
     [](int n) {
         return Shape{.interfaces = 20000,
                      .services = 10,
                      .interface_elements = 1,
                      .fragment_size = static_cast<std::size_t>(2048 / n)};
     }},
    {"TLVs per reply", Adds::kText, [](int n) { return Shape{.services = 60, .elements = 100, .texts = 50 * n}; }},
    {"chain, ascending", Adds::kText,
     [](int n) { return Shape{.services = 60, .elements = 271 * n, .chain = Chain::kAscending}; }},
    {"chain, descending", Adds::kText,
     [](int n) { return Shape{.services = 60, .elements = 271 * n, .chain = Chain::kDescending}; }},
    {"random dependencies", Adds::kText,
     [](int n) { return Shape{.services = 60, .elements = 271 * n, .random_edges = 2}; }},
    {"interface chain, descending", Adds::kText,
     [](int n) {
         return Shape{.services = 60, .elements = 271 * n, .of_interfaces = true, .chain = Chain::kDescending};
     }},
    {"elements sent by 128 services", Adds::kText, [](int n) { return Shape{.services = 128, .resent = 128 * n}; }},
    {"elements of one interface block", Adds::kText,
     [](int n) { return Shape{.interfaces = 16, .services = 40, .interface_elements = 25 * n}; }},
    {"keys x key strings", Adds::kText,
     [](int n) { return Shape{.services = 10, .keys = 1250 * n, .key_elements = 2 * n}; }},
    {"keys of one map", Adds::kText, [](int n) { return Shape{.services = 1, .keys = 1000 * n, .one_map = true}; },
     false},
    {"VLANs x elements", Adds::kText,
     [](int n) { return Shape{.services = 10, .vlans = n < 4 ? 1024 * n : 4094, .vlan_elements = 2 * n}; }},
    {"services of one VLAN", Adds::kText,
     [](int n) { return Shape{.services = 60 * n, .vlans = 1, .vlan_elements = 250}; }},
    {"interfaces x sparse elements", Adds::kText,
     [](int n) { return Shape{.interfaces = 5000 * n, .services = 10, .interface_elements = 500 * n, .spread = 20}; },
     false},
    {"feature keys", Adds::kText, [](int n) { return Shape{.services = 0, .feature_keys = 25000 * n}; }},
    {"everything", Adds::kText,
     [](int n) {
         return Shape{.interfaces = 5000 * n,
                      .services = 60,
                      .interface_elements = 1,
                      .interface_services = 40,
                      .elements = 271 * n,
                      .edges = 1,
                      .vlans = n < 4 ? 1024 * n : 4094,
                      .keys = 25 * n};
     }},
    {"unprinted key strings", Adds::kReading,
     [](int n) { return Shape{.services = 60, .keys = 100, .unused_names = 2500 * n}; }},
    {"interface elements without text", Adds::kReading,
     [](int n) {
         return Shape{.interfaces = 5000,
                      .services = 60,
                      .interface_elements = 1,
                      .interface_services = 1,
                      .empty_interface_elements = 271 * n};
     },
     false},
};

double ratio(double of, double to) {
    return of / to;
}

// Text and CPU of a size compared with the next smaller size.
void print_doubling(const char *name, Adds adds, const bench::Cost &smaller, const bench::Cost &larger) {
    const double text = ratio(larger.text, smaller.text);
    const double cpu = ratio(larger.cpu, smaller.cpu);
    std::printf("| %s | %.1f | x%.2f | x%.2f | %.2f |", name, larger.cpu * 1e3, text, cpu,
                adds == Adds::kText ? cpu / text : cpu / 2);
}

void report(const Row &row, int runs) {
    std::vector<bench::Job> jobs;
    for (const int size : {1, 2, 4})
        jobs.push_back(bench::job(row.shape(size)));
    if (row.has_floor) {
        for (const int size : {1, 2, 4})
            jobs.push_back(bench::job(row.shape(size), bench::run_floor));
    }
    const auto costs = bench::run_interleaved(jobs, runs);
    for (std::size_t i = 1; i < 3; ++i) {
        print_doubling(row.name, row.adds, bench::median_of(costs[i - 1]), bench::median_of(costs[i]));
        if (row.has_floor) {
            std::printf(" x%.2f |", ratio(bench::median_of(costs[i + 3]).cpu, bench::median_of(costs[i + 2]).cpu));
        } else {
            std::printf(" - |");
        }
        std::printf(" %.0f %% |\n", bench::noise_of(costs[i]) * 100);
    }
    std::fflush(stdout);
}

void report_chains(int runs) {
    const auto shape = [](Chain chain) { return Shape{.services = 60, .elements = 1083, .chain = chain}; };
    const auto costs =
        bench::run_interleaved({bench::job(shape(Chain::kAscending)), bench::job(shape(Chain::kDescending))}, runs);
    const double up = bench::median_of(costs[0]).cpu, down = bench::median_of(costs[1]).cpu;
    std::printf("\nchain of 64,980: ascending %.1f ms, descending %.1f ms, x%.2f\n", up * 1e3, down * 1e3, down / up);
}

void report_rows(const std::string &only, int runs) {
    std::printf("| doubled | CPU ms | text | CPU | CPU per byte | floor | noise |\n|---|---|---|---|---|---|---|\n");
    for (const Row &row : kRows) {
        if (only.empty() || only == row.name) report(row, runs);
    }
}

std::vector<std::string> row_names() {
    std::vector<std::string> names;
    for (const Row &row : kRows)
        names.emplace_back(row.name);
    return names;
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("growth", [&] {
        int runs = 7;
        std::string only;
        CLI::App app("How the CPU time of commands grows.", "growth");
        app.add_option("--runs", runs)->check(CLI::Range(1, 1000));
        app.add_option("--only", only, "one row")->check(CLI::IsMember(row_names()));
        CLI11_PARSE(app, argc, argv);
        report_rows(only, runs);
        if (only.empty()) report_chains(runs);
        return 0;
    });
}
