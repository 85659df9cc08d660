// Dependencies that order nothing, and loops. Elements of different levels print in the order of their levels; between
// them a dependency orders only the texts that every level shares, those of interfaces and of key strings.
#include <algorithm>
#include <unordered_map>
#include <vector>

#include "sim/check/displays.h"
#include "sim/check/subjects.h"

namespace sim {
namespace {

constexpr uint32_t kInterfaceTexts = 1, kKeyStrings = 2;
constexpr std::size_t kLongestLoop = 20; // members that a message names

uint32_t shared_texts_of(const Element &element) {
    return (element.intf_texts.empty() ? 0 : kInterfaceTexts) | (element.key_strings.empty() ? 0 : kKeyStrings);
}

struct Node {
    const Service *service;
    const Element *element;
    std::vector<std::size_t> waits_for, waited_for_by; // nodes
    uint32_t texts_before, texts_after;                // shared texts of the node and of all nodes before or after it

    std::string name() const { return name_of(*service, *element); }
    bool prints_at_its_level() const {
        if (service->uuid == QARN_UUID_INTERFACE) return true;
        const bool prints_keys = service->uuid != QARN_UUID_VLAN || lists_vlans(*service, *element);
        return !element->text.empty() || (prints_keys && !element->keys.empty());
    }
};

class Graph {
  public:
    Graph(const Switch &sw, const Elements &elements) : elements_(elements) {
        for (const Service &service : sw.services)
            services_.emplace(service.uuid, &service);
        for (const Place &place : elements.places()) {
            const uint32_t texts = shared_texts_of(*place.element);
            nodes_.push_back({place.service, place.element, {}, {}, texts, texts});
        }
        for (std::size_t at = 0; at < nodes_.size(); ++at)
            add_edges(at);
        spread_texts();
    }

    const std::vector<Node> &nodes() const { return nodes_; }
    // Null if no service has the element.
    const Node *find(const Dependency &dependency) const {
        const std::size_t at = elements_.find(dependency.uuid, dependency.elem_id);
        return at != Elements::kNone ? &nodes_[at] : nullptr;
    }

    std::string name_of_service(uint32_t uuid) const {
        const auto found = services_.find(uuid);
        return found != services_.end() ? found->second->name : std::to_string(uuid);
    }

  private:
    void add_edges(std::size_t at) {
        for (const Dependency &dependency : nodes_[at].element->dependencies) {
            const Node *before = find(dependency);
            if (before == nullptr || dependency.type != QARN_DEP_ORDER) continue;
            const auto position = static_cast<std::size_t>(before - nodes_.data());
            nodes_[at].waits_for.push_back(position);
            nodes_[position].waited_for_by.push_back(at);
        }
    }

    // The nodes in an order that keeps the dependencies; without those that wait for a loop.
    std::vector<std::size_t> ordered() const {
        std::vector<std::size_t> order, waiting(nodes_.size());
        for (std::size_t at = 0; at < nodes_.size(); ++at) {
            waiting[at] = nodes_[at].waits_for.size();
            if (waiting[at] == 0) order.push_back(at);
        }
        for (std::size_t done = 0; done < order.size(); ++done)
            for (const std::size_t after : nodes_[order[done]].waited_for_by)
                if (--waiting[after] == 0) order.push_back(after);
        return order;
    }

    // Beside a loop everything counts as shared.
    void spread_texts() {
        const std::vector<std::size_t> order = ordered();
        if (order.size() < nodes_.size()) {
            for (Node &node : nodes_)
                node.texts_before = node.texts_after = kInterfaceTexts | kKeyStrings;
            return;
        }
        for (const std::size_t at : order)
            for (const std::size_t before : nodes_[at].waits_for)
                nodes_[at].texts_before |= nodes_[before].texts_before;
        for (std::size_t i = order.size(); i-- > 0;)
            for (const std::size_t after : nodes_[order[i]].waited_for_by)
                nodes_[order[i]].texts_after |= nodes_[after].texts_after;
    }

    const Elements &elements_;
    std::vector<Node> nodes_;
    std::unordered_map<uint32_t, const Service *> services_; // by UUID
};

void check_dependency(const Node &node, const Dependency &dependency, const Graph &graph, Report &report) {
    const Node *before = graph.find(dependency);
    if (before == nullptr) {
        if (!report.is_whole()) return;
        return report.warn("after-nobody", dependency.line,
                           node.name() + " waits for " + graph.name_of_service(dependency.uuid) + "/" +
                               std::to_string(dependency.elem_id) + ", an element that no service has",
                           "correct the reference, or remove it");
    }
    if (node.element->level >= before->element->level) return;
    const bool both_print = node.prints_at_its_level() && before->prints_at_its_level();
    if (!both_print && (node.texts_after & before->texts_before) != 0) return;
    report.warn("after-higher-level", dependency.line,
                node.name() + " of level " + std::to_string(node.element->level) + " prints before " + before->name() +
                    " of level " + std::to_string(before->element->level) + ", for which it waits",
                "give it this level or a higher one, or remove the dependency");
}

// An element whose condition exists without text is a part of the switch that is not configured.
void check_conditions(const Node &node, const Graph &graph, Report &report) {
    const Dependency *first = nullptr;
    for (const Dependency &dependency : node.element->dependencies) {
        if (dependency.type != QARN_DEP_CONDITIONAL) continue;
        if (graph.find(dependency) != nullptr) return;
        if (first == nullptr) first = &dependency;
    }
    if (first == nullptr) return;
    report.warn("only-if-nobody", first->line,
                node.name() + " is never printed: its condition is " + graph.name_of_service(first->uuid) + "/" +
                    std::to_string(first->elem_id) + ", an element that no service has",
                "correct the reference, or add the element");
}

// Finds one loop in each group of elements that wait for each other, among the elements of a display. `reported` marks
// the members of the loops that were reported for another display.
class LoopSearch {
  public:
    LoopSearch(const Display &display, const Graph &graph, std::vector<bool> &reported, Report &report)
        : display_(display),
          graph_(graph),
          reported_(reported),
          report_(report),
          states_(graph.nodes().size()),
          positions_(graph.nodes().size()) {
        for (std::size_t at = 0; at < states_.size(); ++at)
            if (display[at] == kAbsent) states_[at] = State::kDone;
    }

    void run() {
        for (std::size_t at = 0; at < states_.size(); ++at)
            if (states_[at] == State::kNew) follow(at);
    }

  private:
    enum class State { kNew, kOnPath, kDone };
    struct Step {
        std::size_t node, next;
        std::size_t loop_begin;    // first step of the loops that this step belongs to; its own number: of none
        std::size_t looped_before; // looped_ when the step was made
    };

    // Follow what the node waits for, deepest first. A node of the path that is met again closes a loop.
    void follow(std::size_t first) {
        enter(first);
        while (!path_.empty()) {
            Step &step = path_.back();
            const std::vector<std::size_t> &ahead = graph_.nodes()[step.node].waits_for;
            if (step.next == ahead.size()) {
                leave();
            } else if (const std::size_t node = ahead[step.next++]; display_[node] != display_[step.node]) {
                continue; // it is in another display
            } else if (states_[node] == State::kNew) {
                enter(node);
            } else if (states_[node] == State::kOnPath) {
                close_loop(positions_[node]);
            }
        }
    }

    void enter(std::size_t node) {
        states_[node] = State::kOnPath;
        positions_[node] = path_.size();
        path_.push_back({node, 0, path_.size(), looped_});
    }

    // The step before it belongs to the same loop if the loop begins there or earlier.
    void leave() {
        const Step step = path_.back();
        states_[step.node] = State::kDone;
        path_.pop_back();
        if (looped_ <= path_.size()) return;
        looped_ = step.looped_before;
        if (step.loop_begin >= path_.size()) return;
        path_.back().loop_begin = std::min(path_.back().loop_begin, step.loop_begin);
        looped_ = path_.size();
    }

    // A loop that shares a member with one before is part of the same knot.
    void close_loop(std::size_t begin) {
        const bool is_known = looped_ > begin;
        looped_ = path_.size();
        path_.back().loop_begin = std::min(path_.back().loop_begin, begin);
        if (!is_known) note(path_.begin() + static_cast<std::ptrdiff_t>(begin));
    }

    void note(std::vector<Step>::iterator begin) {
        const bool is_reported =
            std::any_of(begin, path_.end(), [this](const Step &step) { return reported_[step.node]; });
        for (auto step = begin; step != path_.end(); ++step)
            reported_[step->node] = true;
        if (!is_reported) warn(begin);
    }

    void warn(std::vector<Step>::iterator begin) {
        std::string members;
        const auto count = static_cast<std::size_t>(path_.end() - begin);
        for (std::size_t i = 0; i < std::min(count, kLongestLoop); ++i)
            members += graph_.nodes()[begin[static_cast<std::ptrdiff_t>(i)].node].name() + " -> ";
        if (count > kLongestLoop) members += "... -> ";
        const Node &first = graph_.nodes()[begin->node];
        report_.warn("loop", first.element->line,
                     "elements wait for each other: " + members + first.name() +
                         "; a display of them ends with \"Loop in the graph\"",
                     "remove one of these dependencies");
    }

    const Display &display_;
    const Graph &graph_;
    std::vector<bool> &reported_;
    Report &report_;
    std::vector<State> states_;
    std::vector<std::size_t> positions_; // of nodes on the path
    std::vector<Step> path_;
    std::size_t looped_ = 0; // steps up to the last one that belongs to a loop
};

} // namespace

void check_order(const Switch &sw, Report &report) {
    const Elements elements(sw);
    const Graph graph(sw, elements);
    for (const Node &node : graph.nodes()) {
        for (const Dependency &dependency : node.element->dependencies)
            if (dependency.type == QARN_DEP_ORDER) check_dependency(node, dependency, graph, report);
        if (report.is_whole()) check_conditions(node, graph, report);
    }
    std::vector<bool> reported(graph.nodes().size());
    for (const Display &display : displays_of(sw, elements))
        LoopSearch(display, graph, reported, report).run();
}

} // namespace sim
