#include "explain/check/joint_rules.h"

#include <qarncli/element.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "explain/check/shared_lines.h"
#include "explain/check/stream_rules.h"
#include "explain/elements.h"
#include "explain/loops.h"
#include "explain/order.h"

namespace explain {
namespace {

enum Name : uint8_t { kArrivalOrder, kLevelAgainstOrder, kLoop, kNeverPrinted, kSharedLine, kUnansweredDependency };

constexpr CheckRule kRules[] = {
    {"arrival-order", "the text changes with the order in which the replies arrive"},
    {"level-against-order", "an element is to be printed after one with a higher level, which is printed later"},
    {"loop", "elements wait for each other, so nothing is printed"},
    {"never-printed", "an element has text, and none of it is printed"},
    {"shared-line", "two elements print the same line in one block"},
    {"unanswered-dependency", "an element depends on one that no service has sent"},
};
static_assert(std::size(kRules) == kUnansweredDependency + 1);

// The level with which each element came first, and from whom.
class LevelSink : public StreamSink {
  public:
    LevelSink(const Names &names, std::vector<Finding> &findings) : names_(names), findings_(findings) {}

    void begin(uint32_t sap) {
        sap_ = sap;
        seen_.clear();
    }

    void element(const StreamElement &element) override {
        const Key key = key_of(element.uuid, element.id);
        const auto first = first_.emplace(key, First{sap_, element.level}).first->second;
        if (!seen_.insert(key).second || first.sap == sap_ || first.level == element.level) return;
        findings_.push_back({find_rule("level-differs"), names_.of_service(sap_), key, element.at,
                             "level " + std::to_string(element.level) + ", and level " + std::to_string(first.level) +
                                 " from " + names_.of_service(first.sap)});
    }

  private:
    struct First {
        uint32_t sap, level;
    };
    const Names &names_;
    std::vector<Finding> &findings_;
    std::map<Key, First> first_;
    std::set<Key> seen_; // in the reply; its own check compares further ones
    uint32_t sap_ = 0;
};

class JointCheck {
  public:
    JointCheck(const Subject &subject, const Origins &origins) : subject_(subject), origins_(origins) {}

    std::vector<Finding> run() {
        check_each_reply();
        check_levels();
        const std::vector<Loop> loops = find_loops(elements_);
        for (const Loop &loop : loops)
            note_loop(loop);
        const std::vector<Place> places = find_places(elements_);
        for (std::size_t at = 0; at < places.size(); ++at)
            check_dependencies(at, places[at]);
        if (loops.empty()) check_text();
        std::ranges::stable_sort(findings_, {}, &Finding::service);
        return std::move(findings_);
    }

  private:
    const std::string &reply_at(const Observation::Reply &reply) const {
        return subject_.observation.answers().at(reply.sap).replies[reply.at];
    }

    void check_each_reply() {
        KeyNames names;
        for (const Observation::Reply &reply : subject_.observation.replies())
            names.merge(key_names_of(reply_at(reply)));
        for (const Observation::Reply &reply : subject_.observation.replies())
            std::ranges::move(check_stream(reply_at(reply), subject_.names.of_service(reply.sap), &names),
                              std::back_inserter(findings_));
    }

    void check_levels() {
        LevelSink sink(subject_.names, findings_);
        for (const Observation::Reply &reply : subject_.observation.replies()) {
            sink.begin(reply.sap);
            read_stream(reply_at(reply), sink);
        }
    }

    void find(Name rule, Key element, std::string text) {
        findings_.push_back({&kRules[rule], subject_.names.of_senders(element), element, 0, std::move(text)});
    }

    void note_loop(const Loop &loop) {
        std::string text = "it waits for ";
        for (std::size_t i = 1; i < loop.cycle.size(); ++i)
            text.append(subject_.names.of_element(key_at(loop.cycle[i]))).append(", which waits for ");
        find(kLoop, key_at(loop.cycle[0]), text + (loop.cycle.size() > 1 ? "it" : "itself"));
    }

    Key key_at(std::size_t at) const { return elements_.all()[at].key; }

    void check_dependencies(std::size_t at, const Place &place) {
        std::set<Key> told;
        for (const Judged &judged : place.waits_for) {
            const Key on = judged.dependency.on;
            const std::string name = subject_.names.of_element(on);
            if (judged.standing == Standing::kNobodySent && told.insert(on).second)
                find(kUnansweredDependency, key_at(at), "no service has sent " + name);
            if (judged.standing == Standing::kHigherLevel && told.insert(on).second)
                find(kLevelAgainstOrder, key_at(at),
                     "level " + std::to_string(elements_.all()[at].level()) + "; " + name +
                         ", which is to be printed before, has level " +
                         std::to_string(elements_.all()[*judged.dependency.target].level()));
        }
    }

    void check_text() {
        std::ranges::move(find_shared_lines(subject_, origins_, kRules[kSharedLine]), std::back_inserter(findings_));
        std::set<Key> printed;
        for (const Piece &piece : origins_.pieces)
            if (piece.has_element) printed.insert(piece.element);
        for (std::size_t at = 0; at < elements_.all().size(); ++at)
            if (!printed.contains(key_at(at)) && elements_.takes_part(at)) check_unprinted(elements_.all()[at]);
    }

    // What is filed under a name has a rule of its own, and an element without any text is one that others name.
    void check_unprinted(const Element &element) {
        const bool has_values =
            element.record->ifindex_table != nullptr && g_hash_table_size(element.record->ifindex_table) > 0;
        if (element.is_placeholder() || (!element.has_text() && !has_values)) return;
        std::string why = "no display prints it";
        if (element.level() >= kPrintLevels)
            why.append(": level ").append(std::to_string(element.level()));
        else if (element.key.uuid == QARN_UUID_INTERFACE)
            why += ": elements with this UUID say only where the interfaces are printed";
        else if (!element.has_text())
            why += ": it has values only for interfaces that are not printed";
        find(kNeverPrinted, element.key, why);
    }

    const Subject &subject_;
    const Origins &origins_;
    const Elements elements_;
    std::vector<Finding> findings_;
};

} // namespace

std::span<const CheckRule> joint_rules() {
    return kRules;
}

const CheckRule *find_rule(std::string_view name) {
    for (const auto rules : {joint_rules(), stream_rules()})
        for (const CheckRule &rule : rules)
            if (rule.name == name) return &rule;
    return nullptr;
}

std::vector<Finding> check_replies(const Subject &subject, const Origins &origins) {
    return JointCheck(subject, origins).run();
}

} // namespace explain
