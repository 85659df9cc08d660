#include "explain/loops.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>

namespace explain {
namespace {

// In a larger group, the cycle is a shortest one through one of so many elements.
constexpr std::size_t kMostStarts = 500;

using Group = std::vector<std::size_t>;

// Groups of elements that all wait for each other, after Tarjan, without recursion.
class Groups {
  public:
    Groups(const Elements &elements, const Pass &pass) : pass_(pass) {
        const std::size_t count = elements.all().size();
        predecessors_.resize(count);
        index_.resize(count);
        low_.resize(count);
        is_on_stack_.resize(count);
        for (std::size_t at = 0; at < count; ++at)
            if (elements.is_in(pass, at)) predecessors_[at] = elements.predecessors(pass, at);
        for (std::size_t at = 0; at < count; ++at)
            if (elements.is_in(pass, at) && index_[at] == 0) visit(at);
    }

    std::vector<Group> groups; // of two or more, or of one that waits for itself

    // A shortest cycle of a group.
    std::vector<std::size_t> cycle_in(const Group &group) const {
        std::vector<std::size_t> shortest;
        const std::set<std::size_t> members(group.begin(), group.end());
        for (std::size_t i = 0; i < std::min(group.size(), kMostStarts); ++i) {
            std::vector<std::size_t> cycle = cycle_through(group[i], members);
            if (shortest.empty() || cycle.size() < shortest.size()) shortest = std::move(cycle);
        }
        return shortest;
    }

  private:
    struct Frame {
        std::size_t at, next;
    };

    void visit(std::size_t root) {
        std::vector<Frame> frames = {enter(root)};
        while (!frames.empty()) {
            Frame &frame = frames.back();
            if (frame.next < predecessors_[frame.at].size()) {
                const std::size_t to = predecessors_[frame.at][frame.next++];
                if (index_[to] == 0) {
                    frames.push_back(enter(to));
                } else if (is_on_stack_[to]) {
                    low_[frame.at] = std::min(low_[frame.at], index_[to]);
                }
                continue;
            }
            const std::size_t done = frame.at;
            frames.pop_back();
            if (!frames.empty()) low_[frames.back().at] = std::min(low_[frames.back().at], low_[done]);
            if (low_[done] == index_[done]) take_group(done);
        }
    }

    Frame enter(std::size_t at) {
        index_[at] = low_[at] = ++last_index_;
        stack_.push_back(at);
        is_on_stack_[at] = true;
        return {at, 0};
    }

    void take_group(std::size_t root) {
        Group group;
        for (std::size_t at = stack_.size(); at-- > 0;) {
            group.push_back(stack_[at]);
            is_on_stack_[stack_[at]] = false;
            if (stack_[at] == root) break;
        }
        stack_.resize(stack_.size() - group.size());
        std::ranges::sort(group);
        const bool is_own_loop = std::ranges::find(predecessors_[root], root) != predecessors_[root].end();
        if (group.size() > 1 || is_own_loop) groups.push_back(std::move(group));
    }

    // Breadth first, from the start back to the start.
    std::vector<std::size_t> cycle_through(std::size_t start, const std::set<std::size_t> &members) const {
        std::map<std::size_t, std::size_t> came_from;
        for (std::deque<std::size_t> next = {start}; !next.empty(); next.pop_front())
            for (const std::size_t to : predecessors_[next.front()]) {
                if (to == start) return path_to(next.front(), start, came_from);
                if (members.contains(to) && came_from.emplace(to, next.front()).second) next.push_back(to);
            }
        return {};
    }

    static std::vector<std::size_t> path_to(std::size_t end, std::size_t start,
                                            const std::map<std::size_t, std::size_t> &came_from) {
        std::vector<std::size_t> path;
        for (std::size_t at = end; at != start; at = came_from.at(at))
            path.push_back(at);
        path.push_back(start);
        std::ranges::reverse(path);
        return path;
    }

    const Pass pass_;
    std::vector<std::vector<std::size_t>> predecessors_;
    std::vector<std::size_t> index_, low_, stack_;
    std::vector<bool> is_on_stack_;
    std::size_t last_index_ = 0;
};

} // namespace

// Every loop of another pass is one among all elements too. The library orders the interface elements first.
std::vector<Loop> find_loops(const Elements &elements) {
    std::vector<Loop> loops;
    const Groups all(elements, {Pass::Kind::kKeyStrings});
    for (const Group &group : all.groups) {
        Loop loop = {{Pass::Kind::kKeyStrings}, all.cycle_in(group)};
        const bool is_of_interfaces = std::ranges::all_of(
            loop.cycle, [&](std::size_t at) { return elements.is_in({Pass::Kind::kInterfaces}, at); });
        if (is_of_interfaces) loop.pass = {Pass::Kind::kInterfaces};
        loops.push_back(std::move(loop));
    }
    std::ranges::sort(loops, {}, &Loop::cycle);
    return loops;
}

} // namespace explain
