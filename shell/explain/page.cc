#include "explain/report/page.h"

#include <qarncli/qarncli.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>

#include "shell/command_error.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/json.h"
#include "shell/verdict.h"

namespace shell {
namespace {

std::string name_of_vdc(const sim::Switch &sw) {
    const auto found = std::ranges::find(sw.vdcs, sw.vdc, &sim::Vdc::id);
    return found != sw.vdcs.end() ? found->name : std::to_string(sw.vdc);
}

explain::ReportHead head_of(const sim::Switch &sw, const std::string &command) {
    const std::string quoted_time = json_time(std::time(nullptr));
    explain::ReportHead head = {command, quoted_time.substr(1, quoted_time.size() - 2), name_of_vdc(sw), {}, {}};
    const Verdict verdict = verdict_on(sw);
    for (const Part &part : verdict.answered)
        head.services.push_back({part.sap, ""});
    for (const Part &part : verdict.missing)
        if (part.sap != 0) {
            head.services.push_back({part.sap, part.reason});
        } else {
            head.problems.push_back(part.reason);
        }
    for (const std::string &problem : verdict.store_problems)
        head.problems.push_back("store: " + problem);
    if (!verdict.refusal.empty()) head.problems.push_back(verdict.refusal);
    return head;
}

int write_page(const explain::Subject &subject, const std::string &command) {
    const std::string page = explain::report_page(subject, head_of(subject.sw, command));
    std::fwrite(page.data(), 1, page.size(), stdout);
    return kExitComplete;
}

} // namespace

Runner as_page(EntryPoint entry, const std::string &command) {
    if (entry == qarn_cli_run_cfg_gen_vdcall)
        throw CommandError("a page explains one VDC: enter it with \"switchto vdc NAME\"");
    if (entry == qarn_startup_cfg_modlist_get) throw CommandError("the list of modules comes from no service");
    return explained_by([command](const explain::Subject &subject) { return write_page(subject, command); });
}

} // namespace shell
