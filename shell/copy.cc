// `copy running-config startup-config`. The library generates the text, with the time of saving in its header, into
// Switch::printed instead of the output stream. The store receives this text and the elements of every service, without
// display conversion and with all secrets, because a configuration is restored from it.
#include <cstdio>
#include <string>

#include "shell/exit_code.h"
#include "shell/message.h"
#include "shell/report.h"
#include "shell/run.h"
#include "sim/saved_config.h"
#include "sim/store.h"

namespace shell {
namespace {

uint32_t refuse(const char *reason) {
    print_message("%s", reason);
    return 1;
}

} // namespace

uint32_t copy_running_to_startup(qarn_req *req) {
    sim::Switch &sw = sim::current();
    if (sw.store.empty()) return refuse("no startup store; name its folder with --store");
    if (sw.hides_secrets) req->dbg_mask = 0; // traces would show what the store receives
    sw.hides_secrets = false;
    req->info_flags |= QARN_INFO_PLAIN;
    std::FILE *const output = sw.output;
    sw.output = nullptr;
    sw.printed.clear();
    qarn_cli_run_cfg_gen(req);
    sw.output = output;
    const Verdict verdict = verdict_on(sw);
    report(verdict);
    if (verdict.code != kExitComplete) return refuse("the running configuration is incomplete; nothing was saved");
    try {
        const std::string before = sim::foreign_owner(sw);
        sim::save_startup(sw, sw.printed);
        if (!before.empty()) print_message("this replaced the configuration of %s", before.c_str());
    } catch (const sim::StoreError &error) {
        return refuse(error.what());
    }
    std::fputs("Copy complete.\n", stdout);
    if (std::fflush(stdout) == 0) return 0;
    std::clearerr(stdout); // reported here
    return refuse("the configuration was saved, but standard output cannot be written");
}

} // namespace shell
