#include "switchd/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "nats/names.h"
#include "sim/notation.h"
#include "switchd/address.h"

namespace switchd {
namespace {

constexpr uint32_t kLongestUnit = 60000; // milliseconds

// The parser takes whatever follows an option as its argument.
std::string text_given(const std::string &text) {
    if (text.starts_with('-')) return "needs a value, not the option " + sim::printable(text);
    return text.empty() ? "needs a value" : "";
}

std::string fault_of_address(const std::string &text) {
    if (address_in(text)) return "";
    return "needs HOST:PORT with a port from 0 to 65535, such as 10.0.0.5:4222 or [fd00::5]:4222, not " +
           sim::quoted(text);
}

void declare_options_of_engine(CLI::App &app, Options &options) {
    auto *listen = app.add_option("--listen", options.listen,
                                  "address of the NATS server; without it a free port of the loopback. Another "
                                  "machine's shells and services reach it with TLS only")
                       ->type_name("HOST:PORT")
                       ->check(fault_of_address);
    auto *folder = app.add_option("--folder", options.folder,
                                  "folder of configuration, credentials and certificates, which stays; without it a "
                                  "new one, which is removed")
                       ->type_name("DIR")
                       ->check(text_given);
    auto *join =
        app.add_option("--join", options.join, "start only services, which join the NATS server at this address")
            ->type_name("URL")
            ->check(text_given)
            ->excludes(listen)
            ->excludes(folder);
    app.add_option("--credentials", options.credentials,
                   "file with the user for --join, or a folder with a file of each user, such as sap-20.credentials")
        ->type_name("PATH")
        ->check(text_given)
        ->needs(join);
}

} // namespace

std::string fault_of_name(const std::string &name) {
    const auto is_control = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
    if (std::ranges::any_of(name, is_control)) return "the name of a switch has no control characters";
    return nats::why_too_long("switch", name).value_or(text_given(name));
}

void declare_options(CLI::App &app, Options &options) {
    app.add_option("-s,--switch", options.switch_file, "start the switch that this file describes")
        ->type_name("FILE")
        ->required()
        ->check(text_given);
    app.add_option("SERVICE", options.services, "start only the services with these names");
    declare_options_of_engine(app, options);
    app.add_option("--switch-name", options.switch_name, "name of the switch (default: from the description)")
        ->type_name("NAME")
        ->check(fault_of_name);
    app.add_option("--timeout-unit", options.timeout_unit,
                   "milliseconds per unit of the services' delays (default 1000)")
        ->type_name("MS")
        ->check(CLI::Range(1u, kLongestUnit).description(""));
    app.add_option("--service-program", options.service_program,
                   "the program of a service (default: qarn-service beside switchd)")
        ->type_name("FILE")
        ->check(text_given)
        ->envname("SWITCHD_SERVICE_PROGRAM");
    app.footer(
        "switchd prints the line to type next when all services are registered, and ends them all when it ends.\n"
        "\nExit status: 0 after SIGTERM, SIGINT, SIGHUP or SIGQUIT; 1 if it cannot go on; 2 for a wrong command line or "
        "description.");
}

} // namespace switchd
