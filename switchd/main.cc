// switchd: a whole described switch of many processes. It starts a NATS server of its own, or joins another machine's,
// and one process for each service.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <sstream>
#include <string>

#include "nats/objects.h"
#include "sim/description.h"
#include "switchd/options.h"
#include "switchd/process.h"
#include "switchd/report.h"
#include "switchd/run.h"
#include "switchd/signals.h"
#include "switchd/usage.h"

namespace {

constexpr int kFailure = 1, kUsage = 2;

int parse_and_run(int argc, char **argv) {
    CLI::App app("Starts a described switch: a NATS server and a process for each service.", "switchd");
    switchd::Options options;
    switchd::declare_options(app, options);
    app.set_version_flag("--version", "switchd " SWITCHD_VERSION, "print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        std::ostringstream help;
        if (app.exit(error, help, help) != 0) {
            switchd::report(std::string(error.what()) + "; --help describes the options");
            return kUsage;
        }
        std::fputs(help.str().c_str(), stdout);
        return std::fflush(stdout) == 0 ? 0 : kFailure;
    }
    return switchd::run(options);
}

} // namespace

int main(int argc, char **argv) {
    try {
        switchd::block_signals();
        return parse_and_run(argc, argv);
    } catch (const switchd::UsageError &error) {
        switchd::report(error.what());
        return kUsage;
    } catch (const sim::DescriptionError &error) {
        switchd::report(error.what());
        return kUsage;
    } catch (const std::exception &error) {
        switchd::report(error.what());
        return kFailure;
    }
}
