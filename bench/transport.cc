// Reports what "show running-config" costs when the services are processes behind a NATS server, compared with services
// in the shell's own process: the time from start to end, and the CPU time of the shell. Once for the built-in switch,
// and once for a generated one. The texts must be the same.
#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

#include "bench/connected_switch.h"
#include "bench/program.h"

namespace {

constexpr char kCommand[] = "show running-config";

struct Settings {
    std::string folder = "build/release", interfaces = "20000", services = "60";
    int runs = 9;
};

void compare(const Settings &settings, const std::string &what, const std::string &description) {
    const bench::ConnectedSwitch connected_switch(settings.folder, description);
    const bench::Words here = connected_switch.in_process(kCommand), there = connected_switch.connected(kCommand);
    if (bench::printed_by(here) != bench::printed_by(there)) throw std::runtime_error("the texts differ");
    bench::Comparison comparison;
    comparison.add(what + ", in the process", here);
    comparison.add(what + ", through NATS", there);
    comparison.measure(settings.runs);
    comparison.print(&bench::Cost::wall, "wall");
    comparison.print(&bench::Cost::cpu, "CPU ");
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("transport", [&] {
        Settings settings;
        CLI::App app("Cost of show running-config through NATS and in the process.", "transport");
        app.add_option("--build", settings.folder, "build folder with the shell");
        app.add_option("--runs", settings.runs, "runs of each command")->check(CLI::Range(1, 1000));
        app.add_option("--interfaces", settings.interfaces, "of the generated switch");
        app.add_option("--services", settings.services, "of the generated switch");
        CLI11_PARSE(app, argc, argv);

        compare(settings, "built-in switch", "switches/leaf.yaml");
        const bench::TemporaryFile description;
        bench::run({settings.folder + "/bench/describe_switch", "--interfaces", settings.interfaces, "--services",
                    settings.services},
                   description.path());
        compare(settings, settings.interfaces + " interfaces, " + settings.services + " services", description.path());
        return 0;
    });
}
