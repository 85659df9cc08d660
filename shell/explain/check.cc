// The command "check": what is wrong with the configuration that the services send. It runs the display of the whole
// running configuration, and again with its replies in other orders.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "explain/check/arrival_order.h"
#include "explain/check/joint_rules.h"
#include "explain/check/stream_rules.h"
#include "shell/actions.h"
#include "shell/answer.h"
#include "shell/command_error.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/forms.h"
#include "shell/message.h"
#include "shell/numbers.h"
#include "shell/session.h"
#include "shell/table.h"
#include "shell/verdict.h"
#include "sim/notation.h"

namespace shell {
namespace {

using explain::CheckRule;
using explain::Finding;
using Rules = std::vector<const CheckRule *>;

constexpr char kArrivalOrder[] = "arrival-order", kSharedLine[] = "shared-line";
constexpr uint32_t kUsualTrials = 5, kMostTrials = 1000;

struct Wanted {
    Rules excepted;
    uint32_t trials = kUsualTrials;
    bool as_json = false;

    void leave_out(const char *name) { excepted.push_back(explain::find_rule(name)); }
    bool has(const CheckRule *rule) const { return std::ranges::find(excepted, rule) == excepted.end(); }
};

Rules rules_in(std::string_view list) {
    Rules rules;
    for (std::size_t end = 0; !list.empty(); list.remove_prefix(std::min(end + 1, list.size()))) {
        end = std::min(list.find(','), list.size());
        const std::string_view name = list.substr(0, end);
        const CheckRule *rule = explain::find_rule(name);
        if (rule == nullptr)
            throw CommandError("unknown rule " + sim::quoted(name) + "; \"check rules\" lists them", name);
        rules.push_back(rule);
    }
    return rules;
}

std::string text_of_display(sim::Switch &sw, EntryPoint entry, qarn_req &req) {
    explain::Observation observation;
    run_observed(sw, entry, req, observation);
    return observation.text();
}

void show(const std::vector<Finding> &findings, bool as_json) {
    Table table({{"Service"}, {"Element"}, {"Rule"}, {"Finding"}});
    for (const Finding &finding : findings)
        table.add({finding.service, finding.element ? explain::text_of(*finding.element) : "", finding.rule->name,
                   finding.text});
    if (as_json) {
        std::printf("\"rows\": %s", table.json().c_str());
    } else {
        std::fputs(findings.empty() ? "no findings\n" : table.text().c_str(), stdout);
    }
}

// Replies that are not all there would not all be there again.
std::vector<Finding> find_in(const explain::Subject &subject, explain::OtherOrders &orders) {
    const explain::Origins origins = explain::find_origins(subject);
    std::vector<Finding> findings = explain::check_replies(subject, origins);
    if (orders.are_none()) return findings;
    if (verdict_on(subject.sw).code != kExitComplete) {
        print_message("%s: not checked, because the configuration is incomplete", kArrivalOrder);
        return findings;
    }
    const explain::AttributedText text(subject, origins);
    std::ranges::move(orders.check(subject.observation, text), std::back_inserter(findings));
    return findings;
}

Ran check(sim::Switch &sw, EntryPoint entry, qarn_req &req, const Wanted &wanted) {
    const bool tries_orders = wanted.has(explain::find_rule(kArrivalOrder));
    explain::OtherOrders orders(sw, tries_orders ? wanted.trials : 0,
                                [&](sim::Switch &again) { return text_of_display(again, entry, req); });
    explain::Observation observation;
    const uint32_t status = run_observed(sw, entry, req, observation);
    std::vector<Finding> findings = find_in({observation, sw}, orders);
    std::erase_if(findings, [&](const Finding &finding) { return !wanted.has(finding.rule); });
    show(findings, wanted.as_json);
    return {status, findings.empty() ? kExitComplete : kExitFailure};
}

int check_running(Session &session, const Line &line, Wanted wanted) {
    const auto *recording = session.recording();
    if (recording != nullptr && recording->command.is_masked) {
        print_message("%s, %s: not checked, because the recording is masked", kArrivalOrder, kSharedLine);
        wanted.leave_out(kArrivalOrder);
        wanted.leave_out(kSharedLine);
    }
    session.find_services();
    Request request("show running-config");
    take_options(request, session.options());
    request.has_header = false; // its time would differ from run to run
    wanted.as_json = line.is_json();
    request.runner = [wanted](sim::Switch &sw, EntryPoint entry, qarn_req &req) {
        return check(sw, entry, req, wanted);
    };
    return show_display(session, line, kWhole.running, request);
}

uint32_t trials_in(std::string_view argument) {
    constexpr char kWhat[] = "a number of orders from 1 to 1000";
    const uint32_t trials = number_in(argument, argument, kWhat);
    if (trials == 0 || trials > kMostTrials) throw CommandError(std::string("needs ") + kWhat, argument);
    return trials;
}

} // namespace

int check_services(Session &session, const Line &line) {
    return check_running(session, line, {});
}

int check_except(Session &session, const Line &line) {
    return check_running(session, line, {.excepted = rules_in(line.arguments[0])});
}

int check_orders(Session &session, const Line &line) {
    return check_running(session, line, {.excepted = {}, .trials = trials_in(line.arguments[0])});
}

int check_except_orders(Session &session, const Line &line) {
    return check_running(session, line,
                         {.excepted = rules_in(line.arguments[0]), .trials = trials_in(line.arguments[1])});
}

int list_check_rules(Session &session, const Line &line) {
    if (session.options().record) throw CommandError(kNoDisplay);
    Table table({{"Rule"}, {"Meaning"}});
    std::vector<CheckRule> rules(explain::stream_rules().begin(), explain::stream_rules().end());
    rules.insert(rules.end(), explain::joint_rules().begin(), explain::joint_rules().end());
    std::ranges::sort(rules, {}, [](const CheckRule &rule) { return std::string_view(rule.name); });
    for (const CheckRule &rule : rules)
        table.add({rule.name, rule.meaning});
    return show_table(session, line, table, {}, kExitComplete);
}

} // namespace shell
