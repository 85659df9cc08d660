#include "explain/check/arrival_order.h"

#include <qarncli/message.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <utility>

#include "explain/check/joint_rules.h"
#include "explain/check/shuffled_replies.h"
#include "explain/lines.h"
#include "sim/check/report.h"

namespace explain {

AttributedText::AttributedText(const Subject &subject, const Origins &origins) {
    std::map<std::pair<bool, Key>, std::size_t> known;
    for_each_line(subject.observation, origins, [&](std::string_view line, const Piece &piece) {
        const auto [found, is_new] = known.emplace(std::pair(piece.has_element, piece.element), owners_.size());
        if (is_new) {
            owners_.push_back({subject.names.of_senders(piece.element), subject.names.of_element(piece.element),
                               piece.has_element ? std::optional(piece.element) : std::nullopt});
        }
        lines_.emplace_back(line);
        owners_of_lines_.push_back(found->second);
    });
}

std::vector<Finding> AttributedText::compare(const std::string &other) const {
    std::istringstream stream(other);
    std::string line;
    std::size_t at = 0;
    while (std::getline(stream, line) && at < lines_.size() && line == lines_[at])
        ++at;
    if (at == lines_.size() && stream.eof()) return {};
    const std::size_t shown = std::min(at, lines_.size() - 1);
    const Owner &owner = owners_[owners_of_lines_[shown]];
    const bool is_element = owner.element.has_value();
    return {{find_rule("arrival-order"), is_element ? owner.service : "", owner.element, 0,
             "line " + std::to_string(shown + 1) + " is " + sim::shown(lines_[shown]) +
                 (stream.eof() ? ", and missing" : ", or " + sim::shown(line)) +
                 " when the replies arrive in another order"}};
}

namespace {

std::vector<uint32_t> consumers_of(const sim::Switch &sw) {
    if (sw.transport.carrier) return sw.transport.carrier->consumers(QARN_OPC_REQUEST);
    std::vector<uint32_t> saps;
    for (const sim::Service &service : sw.services)
        if (service.consumer) saps.push_back(service.sap);
    return saps;
}

Replies replies_of_services(const sim::Switch &sw, const Observation &seen) {
    const auto is_called_again = [&](uint32_t sap) { // in a replay, the recording has what functions sent
        return !sw.facts && std::ranges::find(sw.in_process, sap, &sim::InProcess::sap) != sw.in_process.end();
    };
    Replies replies;
    for (const auto &[sap, answer] : seen.answers())
        if (!is_called_again(sap))
            for (const std::string &reply : answer.replies)
                replies.emplace_back(sap, reply);
    return replies;
}

} // namespace

OtherOrders::OtherOrders(sim::Switch &sw, uint32_t count, const Display &display) : switch_(sw) {
    const std::vector<uint32_t> consumers = consumers_of(sw);
    for (uint32_t seed = 1; seed <= count; ++seed)
        trials_.emplace_back([&, seed](const Replies &replies) {
            sw.transport.carrier = std::make_shared<ShuffledReplies>(consumers, replies, seed);
            return display(sw);
        });
}

std::vector<Finding> OtherOrders::check(const Observation &seen, const AttributedText &text) {
    const Replies replies = replies_of_services(switch_, seen);
    std::vector<Finding> findings;
    for (Trial &trial : trials_)
        if (findings.empty() && !replies.empty()) findings = text.compare(trial.text(replies));
    return findings;
}

} // namespace explain
