#include "explain/dot.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "explain/loops.h"

namespace explain {
namespace {

// Light enough for black text.
constexpr const char *kColors[] = {"#a6cee3", "#b2df8a", "#fdbf6f", "#cab2d6", "#fb9a99", "#ffff99",
                                   "#8dd3c7", "#bebada", "#fccde5", "#d9d9d9", "#ccebc5", "#ffed6f"};

std::string quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c >= 0 && c < ' ' ? '?' : c;
    }
    return quoted + '"';
}

// The two ends of a dependency: the element that waits, and what it waits for.
using Ends = std::pair<Key, Key>;

class Picture {
  public:
    Picture(const Elements &elements, const Names &names, const Selection &selection)
        : elements_(elements), names_(names) {
        for (const Loop &loop : find_loops(elements))
            for (std::size_t i = 0; i < loop.cycle.size(); ++i)
                in_loops_.insert({key_at(loop.cycle[i]), key_at(loop.cycle[(i + 1) % loop.cycle.size()])});
        selection.around ? choose_around(*selection.around) : choose(selection);
    }

    std::string text() {
        dot_ = "digraph configuration {\n  rankdir=LR;\n  node [shape=box, style=filled, fontname=\"sans-serif\"];\n";
        std::map<uint32_t, std::vector<Key>> levels;
        for (const Key key : chosen_)
            if (const auto at = elements_.find(key)) levels[elements_.all()[*at].level()].push_back(key);
        for (const auto &[level, keys] : levels)
            add_level(level, keys);
        for (const Key key : chosen_)
            if (!elements_.find(key)) dot_ += "  " + node(key, "white", ", color=red, style=dashed");
        for (const Key key : chosen_)
            add_dependencies(key);
        return dot_ + "}\n";
    }

  private:
    Key key_at(std::size_t at) const { return elements_.all()[at].key; }

    void choose(const Selection &selection) {
        for (const Element &element : elements_.all()) {
            if (selection.level && element.level() != *selection.level) continue;
            if (selection.service && !was_sent_by(element.key, *selection.service)) continue;
            const bool is_wanted = selection.level || selection.service;
            if (is_wanted || !element.dependencies.empty()) chosen_.insert(element.key);
            for (const Dependency &dependency : element.dependencies)
                chosen_.insert(dependency.on);
        }
    }

    bool was_sent_by(Key key, const std::string &service) const {
        return ('+' + names_.of_senders(key) + '+').find('+' + service + '+') != std::string::npos;
    }

    void choose_around(const Selection::Around &around) {
        std::map<Key, std::vector<Key>> neighbors;
        for (const Element &element : elements_.all())
            for (const Dependency &dependency : element.dependencies) {
                neighbors[element.key].push_back(dependency.on);
                neighbors[dependency.on].push_back(element.key);
            }
        chosen_ = {around.element};
        std::vector<Key> edge = {around.element};
        for (uint32_t step = 0; step < around.steps && !edge.empty(); ++step) {
            std::vector<Key> next;
            for (const Key key : edge)
                for (const Key neighbor : neighbors[key])
                    if (chosen_.insert(neighbor).second) next.push_back(neighbor);
            edge = std::move(next);
        }
    }

    std::string node(Key key, const std::string &color, const std::string &more = "") const {
        return quoted(text_of(key)) + " [label=" + quoted(names_.of_element(key)) + ", fillcolor=" + quoted(color) +
               more + "];\n";
    }

    void add_level(uint32_t level, const std::vector<Key> &keys) {
        const std::string name = std::to_string(level);
        dot_ += "  subgraph cluster_" + name + " {\n    label=\"level " + name + "\";\n";
        for (const Key key : keys)
            dot_ += "    " + node(key, color_of(names_.of_senders(key)), style_of(key));
        dot_ += "  }\n";
    }

    std::string style_of(Key key) const {
        const std::size_t at = *elements_.find(key);
        if (elements_.all()[at].is_placeholder()) return ", color=red, style=dashed";
        return elements_.takes_part(at) ? "" : ", style=\"filled,dashed\"";
    }

    const char *color_of(const std::string &service) {
        const std::size_t next = colors_.size() % std::size(kColors);
        return colors_.emplace(service, kColors[next]).first->second;
    }

    void add_dependencies(Key key) {
        const auto at = elements_.find(key);
        if (!at) return;
        for (const Dependency &dependency : elements_.all()[*at].dependencies)
            if (chosen_.contains(dependency.on)) add_dependency(key, dependency);
    }

    // The arrow shows the order of printing.
    void add_dependency(Key key, const Dependency &dependency) {
        const bool is_unmet = !dependency.target || elements_.all()[*dependency.target].is_placeholder();
        std::string style;
        if (dependency.type != QARN_DEP_ORDER) style += " style=dashed";
        if (is_unmet) style += " color=red";
        if (in_loops_.contains(Ends(key, dependency.on))) style += " penwidth=3";
        dot_ += "  " + quoted(text_of(dependency.on)) + " -> " + quoted(text_of(key));
        if (!style.empty()) dot_ += " [" + style.substr(1) + "]";
        dot_ += ";\n";
    }

    const Elements &elements_;
    const Names &names_;
    std::set<Key> chosen_;
    std::set<Ends> in_loops_; // the element that waits, and what it waits for
    std::map<std::string, const char *> colors_;
    std::string dot_;
};

} // namespace

std::string dot_of(const Elements &elements, const Names &names, const Selection &selection) {
    return Picture(elements, names, selection).text();
}

} // namespace explain
