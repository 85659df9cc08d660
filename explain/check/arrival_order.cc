#include "explain/check/arrival_order.h"

#include <qarncli/message.h>

#include <algorithm>
#include <memory>
#include <span>
#include <sstream>
#include <utility>

#include "explain/check/joint_rules.h"
#include "explain/check/shuffled_replies.h"
#include "explain/lines.h"
#include "sim/check/report.h"

namespace explain {

namespace {

constexpr char kWhen[] = " when the replies arrive in another order";

} // namespace

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

namespace {

std::vector<std::string> lines_in(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// How far behind the beginning of `lines` a line is; as far as can be, if it is not there.
std::size_t distance_to(const std::string &line, std::span<const std::string> lines) {
    return static_cast<std::size_t>(std::ranges::find(lines, line) - lines.begin());
}

} // namespace

// Of the first two lines that differ, the one that is further away in the other text has moved.
std::vector<Finding> AttributedText::compare(const std::string &other) const {
    const std::vector<std::string> others = lines_in(other);
    const auto ends = std::ranges::mismatch(lines_, others);
    const auto at = static_cast<std::size_t>(ends.in1 - lines_.begin());
    if (at == lines_.size() && at == others.size()) return {};
    if (lines_.empty()) return {{find_rule("arrival-order"), "", {}, 0, std::string("text appears") + kWhen}};
    const auto rest = std::span(lines_).subspan(at), others_rest = std::span(others).subspan(at);
    std::size_t moved = std::min(at, lines_.size() - 1);
    if (!rest.empty() && !others_rest.empty()) {
        const std::size_t back = distance_to(others_rest[0], rest);
        if (back < rest.size() && back > distance_to(rest[0], others_rest)) moved += back;
    }
    const Owner &owner = owners_[owners_of_lines_[moved]];
    return {{find_rule("arrival-order"), owner.element ? owner.service : "", owner.element, 0,
             "line " + std::to_string(moved + 1) + ", " + sim::shown(lines_[moved]) + ", has another place or text" +
                 kWhen}};
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
    std::vector<uint32_t> first; // functions of this process have answered before a service can
    for (const sim::InProcess &function : sw.in_process)
        first.push_back(function.sap);
    for (uint32_t seed = 1; seed <= count; ++seed)
        trials_.emplace_back([&, seed](const Replies &replies) {
            sw.transport.carrier = std::make_shared<ShuffledReplies>(consumers, replies, first, seed);
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
