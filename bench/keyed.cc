// Keyed and VLAN printing: CPU time of whole commands with 4,094 VLANs and 4,000 keys filled by 40 services, and the
// ratios when the number of keys, and separately of services, doubles. Runs of all sizes alternate; medians.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <vector>

#include "bench/measure.h"
#include "bench/workload.h"

namespace {

struct Size {
    const char *what;
    void (*add)(sim::Switch &, int, int);
    int keys, services;
};

void report(const char *what, void (*add)(sim::Switch &, int, int), int keys, int services, int runs) {
    const Size sizes[] = {{"whole", add, keys, services},
                          {"half the keys", add, keys / 2, services},
                          {"half the services", add, keys, services / 2}};
    std::vector<double> times[3];
    for (int run = 0; run < runs; ++run) {
        for (int i = 0; i < 3; ++i) {
            const Size &size = sizes[i];
            times[i].push_back(bench::command_cpu([&](sim::Switch &sw) { size.add(sw, size.keys, size.services); }));
        }
    }
    const double whole = bench::median(times[0]);
    std::printf("%-6s %5d keys, %3d services: %7.1f ms   keys doubled x%.2f   services doubled x%.2f\n", what, keys,
                services, whole * 1e3, whole / bench::median(times[1]), whole / bench::median(times[2]));
}

} // namespace

int main(int argc, char **argv) {
    int keys = 4000, vlans = 4094, services = 40, runs = 5;
    CLI::App app("CPU time of keyed and VLAN printing.", "keyed");
    app.add_option("--keys", keys)->check(CLI::Range(2, 100000));
    app.add_option("--vlans", vlans)->check(CLI::Range(2, 4094));
    app.add_option("--services", services)->check(CLI::Range(2, 200));
    app.add_option("--runs", runs)->check(CLI::Range(1, 1000));
    CLI11_PARSE(app, argc, argv);
    try {
        report("keyed", bench::add_keyed, keys, services, runs);
        report("VLANs", bench::add_vlans, vlans, services, runs);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "keyed: %s\n", error.what());
        return 1;
    }
    return 0;
}
