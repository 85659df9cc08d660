#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <set>
#include <string>

#include "explain/lines.h"
#include "explain/origins.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/table.h"
#include "shell/verdict.h"

namespace shell {
namespace {

// A line of several services counts for each of them.
std::map<uint32_t, std::size_t> count_lines(const explain::Subject &subject) {
    const explain::Origins origins = explain::find_origins(subject);
    std::map<uint32_t, std::size_t> counts;
    explain::for_each_line(subject.observation, origins, [&](std::string_view, const explain::Piece &piece) {
        for (const uint32_t sap : origins.senders[piece.senders])
            ++counts[sap];
    });
    return counts;
}

std::string milliseconds(const explain::Subject &subject, explain::Clock::time_point at) {
    const auto since = std::chrono::duration<double, std::milli>(at - subject.observation.begin());
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", since.count());
    return text;
}

class AnswerTable {
  public:
    explicit AnswerTable(const explain::Subject &subject)
        : subject_(subject), lines_(count_lines(subject)), elements_(subject.senders.count_elements()) {}

    Table make() {
        const Verdict verdict = verdict_on(subject_.sw);
        for (const Part &part : verdict.answered)
            add(part, "whole");
        for (const Part &part : verdict.missing)
            add(part, part.reason);
        for (const auto &[sap, answer] : subject_.observation.answers())
            if (!shown_.contains(sap)) add({.service = subject_.names.of_service(sap), .sap = sap}, "came unasked");
        return std::move(table_);
    }

  private:
    void add(const Part &part, const std::string &state) {
        shown_.insert(part.sap);
        const auto &answers = subject_.observation.answers();
        const auto found = answers.find(part.sap);
        const bool has_come = found != answers.end();
        const explain::Answer none, &answer = has_come ? found->second : none;
        table_.add({part.service, part.sap != 0 ? std::to_string(part.sap) : "", how_asked(part.sap),
                    std::to_string(answer.fragments), std::to_string(answer.bytes), count(elements_, part.sap),
                    count(lines_, part.sap), has_come ? milliseconds(subject_, answer.first) : "",
                    has_come ? milliseconds(subject_, answer.last) : "", state});
    }

    std::string how_asked(uint32_t sap) const {
        if (subject_.observation.has_asked(sap)) return "yes";
        const auto &functions = subject_.sw.in_process;
        return std::ranges::find(functions, sap, &sim::InProcess::sap) != functions.end() ? "by a function" : "no";
    }

    static std::string count(const std::map<uint32_t, std::size_t> &counts, uint32_t sap) {
        const auto found = counts.find(sap);
        return std::to_string(found != counts.end() ? found->second : 0);
    }

    const explain::Subject &subject_;
    const std::map<uint32_t, std::size_t> lines_, elements_; // by SAP
    std::set<uint32_t> shown_;                               // SAPs
    Table table_{{{"Service"},
                  {"SAP", true},
                  {"Asked"},
                  {"Fragments", true},
                  {"Bytes", true},
                  {"Elements", true},
                  {"Lines", true},
                  {"First ms", true},
                  {"Last ms", true},
                  {"Answer"}}};
};

} // namespace

int show_answers(const explain::Subject &subject) {
    std::fputs(AnswerTable(subject).make().text().c_str(), stdout);
    return kExitComplete;
}

int show_answers_as_json(const explain::Subject &subject) {
    std::printf("\"rows\": %s", AnswerTable(subject).make().json().c_str());
    return kExitComplete;
}

} // namespace shell
