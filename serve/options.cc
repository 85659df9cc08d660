#include "serve/options.h"

#include <CLI/CLI.hpp>

#include "sim/notation.h"

namespace serve {
namespace {

constexpr uint32_t kLongestPause = 3600000; // milliseconds
constexpr uint16_t kHighestVdc = 65535;

// The parser takes whatever follows an option as its argument.
std::string text_given(const std::string &text) {
    if (text.starts_with('-')) return "needs a value, not the option " + sim::printable(text);
    return text.empty() ? "needs a value" : "";
}

void declare_options_of_switch(CLI::App &app, Options &options) {
    app.add_option("-s,--switch", options.switch_file, "description of the switch that has the services")
        ->type_name("FILE")
        ->check(text_given)
        ->required();
    app.add_option("--switch-name", options.switch_name, "register under this name of the switch (default: from FILE)")
        ->type_name("NAME")
        ->check(text_given);
    app.add_option("--vdc", options.vdc, "register for this virtual device context (default: from FILE)")
        ->type_name("ID")
        ->check(CLI::Range(uint16_t{1}, kHighestVdc).description(""));
    app.add_option("SERVICE", options.services, "names of the services that this process is (default: all of FILE)")
        ->type_name("");
    app.add_flag("--mask", options.mask, "hide the secrets that the description marks");
}

void declare_options_of_connection(CLI::App &app, Options &options) {
    app.add_option("--connect", options.url, "address of the NATS server, such as nats://127.0.0.1:4222")
        ->type_name("URL")
        ->check(text_given)
        ->required();
    app.add_option("--credentials", options.credentials, "file with the user and the certificates for --connect")
        ->type_name("FILE")
        ->check(text_given);
    app.add_option("--ready-fd", options.ready_fd,
                   "write a newline to this descriptor, and close it, when all services are registered")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber.description(""));
}

void declare_options_of_faults(CLI::App &app, Options &options) {
    const CLI::Validator pause = CLI::Range(0u, kLongestPause).description("");
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the description's delays (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, 60000u).description(""));
    app.add_flag("--silent", options.silent, "register, and never answer");
    app.add_option("--delay", options.delay, "milliseconds before each answer")->type_name("MS")->check(pause);
    app.add_option("--drip", options.drip, "milliseconds between two fragments of an answer")
        ->type_name("MS")
        ->check(pause);
    app.add_option("--die-after", options.die_after, "end abruptly after so many fragments of an answer with more")
        ->type_name("N")
        ->check(CLI::Range(1u, UINT32_MAX).description(""));
    app.add_flag("--twice", options.twice, "send each answer two times");
    app.add_option("--wrong-sap", options.wrong_sap, "send fragments with this SAP instead of its own")
        ->type_name("SAP");
}

} // namespace

void declare_options(CLI::App &app, Options &options) {
    declare_options_of_switch(app, options);
    declare_options_of_connection(app, options);
    declare_options_of_faults(app, options);
    app.set_version_flag("--version", "qarn-service " QARN_SERVICE_VERSION, "print the version and exit");
    app.footer(
        "The program serves until SIGTERM, SIGINT or SIGHUP, and then takes its registrations away.\n"
        "\nExit status: 0 after such a signal, 1 if it could not serve.");
}

} // namespace serve
