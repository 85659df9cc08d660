// Reports the CPU time of the whole shell process for "show running-config": on the built-in switch, and on a generated
// switch, by default with 2,000 interfaces and 20 services, there also recorded, replayed, explained and with each
// filter. Reports medians of several runs.
#include <CLI/CLI.hpp>
#include <string>

#include "bench/program.h"
#include "bench/run.h"

namespace {

// Most of them match in many lines of the generated switch.
constexpr const char *kFilters[] = {"include description",
                                    "include service-1[0-9] ",
                                    "include (?i)SETTING",
                                    "include .",
                                    "exclude service-[0-9]+ on",
                                    "section Ethernet1/777$",
                                    "begin service-1$",
                                    "head 3",
                                    "count",
                                    "json"};

void add_filtered(bench::Comparison &comparison, const bench::Words &plain) {
    for (const char *const filter : kFilters) {
        bench::Words words = plain;
        words.back() += std::string(" | ") + filter;
        comparison.add(std::string("  | ") + filter, words);
    }
}

// The same command recorded, and its recording replayed and explained.
void add_recordings(bench::Comparison &comparison, const bench::Words &plain, const std::string &recording) {
    bench::Words recorded = plain;
    recorded.insert(recorded.begin() + 1, {"--record", recording});
    bench::run(recorded, "/dev/null");
    comparison.add("  --record", recorded);
    comparison.add("  --replay", {plain.front(), "--replay", recording});
    bench::Words explained = plain;
    explained.back() = "explain running-config";
    comparison.add("  explain running-config", explained);
}

void report(bench::Comparison &comparison, int runs) {
    comparison.measure(runs);
    comparison.print(&bench::Cost::cpu, "CPU");
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("shell_cpu", [&] {
        std::string folder = "build/release", interfaces = "2000", services = "20";
        int runs = 9;
        CLI::App app("CPU time of the shell's show running-config.", "shell_cpu");
        app.add_option("--build", folder, "build folder with the shell");
        app.add_option("--runs", runs, "runs of each command")->check(CLI::Range(1, 1000));
        app.add_option("--interfaces", interfaces, "of the generated switch");
        app.add_option("--services", services, "of the generated switch");
        CLI11_PARSE(app, argc, argv);

        const std::string shell = folder + "/shell/vsh";
        const bench::TemporaryFile description;
        bench::run({folder + "/bench/describe_switch", "--interfaces", interfaces, "--services", services},
                   description.path());
        bench::Comparison built_in, generated;
        built_in.add("built-in switch", {shell, "-c", "show running-config"});
        report(built_in, runs);
        const bench::Words plain = {shell, "-s", description.path(), "-c", "show running-config"};
        generated.add(interfaces + " interfaces, " + services + " services", plain);
        const bench::TemporaryFile recording;
        add_recordings(generated, plain, recording.path());
        add_filtered(generated, plain);
        report(generated, runs);
        return 0;
    });
}
