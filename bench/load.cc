// Several shells show the same switch again and again, while its services are processes behind a NATS server. Every
// text must be the one that a shell shows with the services in its own process. Reports how many commands ran, and how
// long they took.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/connected_switch.h"
#include "bench/program.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Tally {
    std::vector<double> times = {}; // milliseconds of each command
    std::size_t wrong = 0, failed = 0;
};

void show_until(Clock::time_point end, const bench::Words &words, const std::string &expected, Tally &tally) {
    const bench::TemporaryFile output;
    while (Clock::now() < end) {
        try {
            tally.times.push_back(bench::run(words, output.path()).wall);
            if (bench::text_of(output.path()) != expected) ++tally.wrong;
        } catch (const std::runtime_error &) {
            ++tally.failed;
        }
    }
}

Tally run_shells(int shells, std::chrono::seconds time, const bench::Words &words, const std::string &expected) {
    std::vector<Tally> tallies(static_cast<std::size_t>(shells));
    std::vector<std::thread> threads;
    threads.reserve(tallies.size());
    const auto end = Clock::now() + time;
    for (Tally &tally : tallies)
        threads.emplace_back([&, end] { show_until(end, words, expected, tally); });
    for (std::thread &thread : threads)
        thread.join();
    Tally all;
    for (const Tally &tally : tallies) {
        all.times.insert(all.times.end(), tally.times.begin(), tally.times.end());
        all.wrong += tally.wrong;
        all.failed += tally.failed;
    }
    return all;
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("load", [&] {
        std::string folder = "build/release", interfaces = "200", services = "60";
        int shells = 8, seconds = 60;
        CLI::App app("Shells in a loop against a switch of many processes.", "load");
        app.add_option("--build", folder, "build folder with the shell");
        app.add_option("--interfaces", interfaces, "of the generated switch");
        app.add_option("--services", services, "of the generated switch");
        app.add_option("--shells", shells, "at the same time")->check(CLI::Range(1, 1000));
        app.add_option("--seconds", seconds, "for how long")->check(CLI::Range(1, 86400));
        CLI11_PARSE(app, argc, argv);

        const bench::TemporaryFile description;
        bench::run({folder + "/bench/describe_switch", "--interfaces", interfaces, "--services", services},
                   description.path());
        const bench::ConnectedSwitch connected_switch(folder, description.path());
        const bench::Words words = connected_switch.connected("show running-config");
        const std::string expected = bench::printed_by(connected_switch.in_process("show running-config"));
        const Tally tally = run_shells(shells, std::chrono::seconds(seconds), words, expected);
        if (tally.times.empty()) throw std::runtime_error("no command succeeded");
        std::printf(
            "%d shells, %s services, %zu bytes of text: %zu commands in %d s, %zu with a wrong text, %zu failed; "
            "median %.1f ms, max %.1f ms\n",
            shells, services.c_str(), expected.size(), tally.times.size(), seconds, tally.wrong, tally.failed,
            bench::median_of(tally.times), *std::ranges::max_element(tally.times));
        return tally.wrong + tally.failed == 0 ? 0 : 1;
    });
}
