// Runs "show running-config" once on a generated switch, in this process and with nothing around it: for profilers.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "bench/floor.h"
#include "bench/measure.h"
#include "bench/program.h"

int main(int argc, char **argv) {
    return bench::run_program("run_switch", [&] {
        std::string name = "M";
        CLI::App app("Runs one command on a generated switch.", "run_switch");
        bool floor = false;
        app.add_flag("--floor", floor, "run the floor program instead of the library");
        app.add_option("shape", name)->check(CLI::IsMember(bench::shape_names()));
        CLI11_PARSE(app, argc, argv);
        const bench::Shape &shape = bench::shape_of(name);
        sim::Switch sw;
        sw.output = stdout;
        const uint32_t handle = bench::set_up(sw, shape);
        sim::make_current(&sw);
        (floor ? bench::run_floor : bench::run_library)(shape, handle, stdout);
        return 0;
    });
}
