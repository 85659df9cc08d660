// `copy running-config startup-config`. The library generates the text, with the header that says when it was saved,
// into the switch's text instead of its output; the store takes the text and what the services save of themselves.
#include <cstdio>

#include "shell/command.h"
#include "sim/store.h"

namespace shell {

namespace {

std::uint32_t refuse(const char *reason) {
    std::fprintf(stderr, "vsh: %s\n", reason);
    return 1;
}

} // namespace

std::uint32_t copy_running_to_startup(qarn_req *req) {
    sim::Switch &sw = sim::current();
    if (sw.store.empty()) return refuse("there is no startup store to copy to; --store names its folder");
    std::FILE *output = sw.output;
    sw.output = nullptr;
    sw.printed.clear();
    const std::uint32_t status = qarn_cli_run_cfg_gen(req);
    sw.output = output;
    if (status != 0) return refuse("the running configuration is not complete; nothing is saved");
    try {
        sim::save_startup(sw, sw.printed);
    } catch (const sim::StoreError &error) {
        return refuse(error.what());
    }
    std::fputs("Copy complete.\n", stdout);
    return 0;
}

} // namespace shell
