// Writes the description of a switch of a given size to standard output. The switch has a given number of interfaces
// and of services; each service has some elements of its own and a text for every interface.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "bench/program.h"

namespace {

struct Shape {
    int interfaces = 2000, services = 20, elements = 10, lines = 2;
};

void write_interfaces(const Shape &shape) {
    std::printf("interfaces:\n  - {names: \"Ethernet1/1-%d\", block: 1, index: 0x1a000000}\n", shape.interfaces);
    std::printf("services:\n  - name: interfaces\n    sap: 100\n    uuid: 223\n    elements:\n");
    std::printf("      - {id: 1, level: 11, properties: [every-view]}\n");
}

// Each element waits for the one before it, and the interface texts of a service for those of the service before.
void write_service(const Shape &shape, int service) {
    std::printf("  - name: service-%d\n    sap: %d\n    uuid: %d\n    elements:\n", service, 200 + service,
                400 + service);
    for (int e = 1; e <= shape.elements; ++e) {
        std::printf("      - id: %d\n        level: %d\n        text: |\n          service-%d setting %d\n", e, e % 11,
                    service, e);
        if (e > 1) std::printf("        after: [[service-%d, %d]]\n", service, e - 1);
    }
    std::printf("      - id: 1000\n        level: 10\n        properties: [interface]\n");
    if (service > 1) std::printf("        after: [[service-%d, 1000]]\n", service - 1);
    std::printf("        interfaces:\n          \"Ethernet1/1-%d\": |\n", shape.interfaces);
    for (int line = 1; line <= shape.lines; ++line) {
        std::printf("            service-%d line %d of port {n}\n", service, line);
    }
}

void write_description(const Shape &shape) {
    std::printf("name: generated\nversion: \"1.0\"\n");
    write_interfaces(shape);
    for (int service = 1; service <= shape.services; ++service)
        write_service(shape, service);
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("describe_switch", [&] {
        Shape shape;
        CLI::App app("Describes a switch of a given size.", "describe_switch");
        app.add_option("--interfaces", shape.interfaces, "front ports")->check(CLI::Range(1, 20000));
        app.add_option("--services", shape.services, "services besides the interface service")
            ->check(CLI::Range(1, 1000));
        app.add_option("--elements", shape.elements, "elements of each service")->check(CLI::Range(1, 900));
        app.add_option("--lines", shape.lines, "lines per service and interface")->check(CLI::Range(1, 100));
        CLI11_PARSE(app, argc, argv);
        write_description(shape);
        return 0;
    });
}
