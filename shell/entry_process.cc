#include "shell/entry_process.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "shell/document.h"
#include "shell/message.h"
#include "shell/recording/follower.h"
#include "shell/report.h"
#include "shell/run.h"
#include "sim/clock.h"

namespace shell {
namespace {

constexpr uint32_t kFirstShellSap = 1000;

uint32_t unused_sap(const sim::Switch &sw) {
    uint32_t sap = kFirstShellSap;
    while (std::any_of(sw.services.begin(), sw.services.end(),
                       [sap](const sim::Service &service) { return service.sap == sap; }))
        ++sap;
    return sap;
}

// The list of modules asks no services and has no outcome; copying the configuration reports its outcome itself.
bool leaves_outcome(EntryPoint entry) {
    return entry != copy_running_to_startup && entry != qarn_startup_cfg_modlist_get;
}

// Report the outcome, and write it to the descriptor `outcome`, if there is one.
int judge(const sim::Switch &sw, int outcome) {
    const Verdict verdict = verdict_on(sw);
    report(verdict);
    if (outcome < 0) return verdict.code;
    const std::string text = text_of(Outcome{sim::time_of_display(), json_members(verdict)});
    const bool is_written = dprintf(outcome, "%s", text.c_str()) >= 0;
    return is_written ? verdict.code : worse_of(verdict.code, kExitFailure);
}

// What was printed goes out before what is said of it. Where another process passes it on, the shell writes the
// messages when that process has ended.
int run_and_report(sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to) {
    Follower follower(sw, request);
    const Ran ran = request.runner ? request.runner(sw, entry, request.req) : Ran{entry(&request.req), kExitComplete};
    std::fflush(stdout);
    if (to.messages >= 0) dup2(to.messages, STDERR_FILENO);
    if (ran.code == kExitInterrupted) print_message("interrupted; what had come by then is explained");
    const int code = leaves_outcome(entry) ? judge(sw, to.outcome) : ran.status == 0 ? kExitComplete : kExitFailure;
    return follower.finish(worse_of(code, ran.code));
}

// An exception must not leave the child's part of the code, or the child would go on as a second shell.
int run_entry(sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to) {
    try {
        if (sw.transport.carrier) sw.transport.carrier->begin();
        request.req.mts_handle = sw.transport.open(unused_sap(sw));
        return run_and_report(sw, entry, request, to);
    } catch (const std::bad_alloc &) {
        print_message("not enough memory for the command");
    } catch (const std::exception &error) {
        print_message("%s", error.what());
    }
    return kExitFailure;
}

void reduce(sim::Switch &sw, const Request &request) {
    sw.view.hides_header = !request.has_header;
    sw.view.puts_messages_apart = !request.has_messages;
}

// The display of all VDCs has no header; the shells that it starts have one each. A pager must not be disturbed by what
// they report.
void prepare_shells(const Request &request, const Descriptors &to) {
    setenv(kVariableOfPlace, "true", 1);
    if (!request.has_header) setenv("VSH_PLAIN", "true", 1);
    if (!request.has_messages) setenv(kVariableOfMessages, "true", 1);
    share_message_log();
    if (to.messages >= 0) dup2(to.messages, STDERR_FILENO);
}

} // namespace

[[noreturn]] void run_entry_process(sim::Switch &sw, EntryPoint entry, Request &request, const Descriptors &to,
                                    const Deadline &deadline) {
    constexpr std::size_t kBlock = 65536; // fewer, larger blocks for the next process
    if (to.messages >= 0) std::setvbuf(stdout, nullptr, _IOFBF, kBlock);
    export_deadline(deadline);
    sw.transport.deadline = deadline;
    sw.transport.heeds_interruptions = request.outlives_interruption;
    sim::set_shell_options(request.options);
    entry == qarn_cli_run_cfg_gen_vdcall ? prepare_shells(request, to) : reduce(sw, request);
    int status = run_entry(sw, entry, request, to);
    if (!flush_output()) status = kExitFailure;
    std::fflush(stderr);
    const ssize_t written = write(to.report, &status, sizeof status);
    _exit(written == sizeof status ? 0 : kExitFailure);
}

} // namespace shell
