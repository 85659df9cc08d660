// Interface manager: the interfaces of the switch, grouped by the interface block element that prints them, and their
// names. It owns the sublists that it hands out until the switch ends, so nobody frees them.
#include "platform/ifmgr.h"

#include <algorithm>
#include <limits>

#include "sim/switch.h"

namespace sim {

// The sublists of one request, and the interface indexes that they point to.
struct Switch::Chain {
    struct Block {
        ifindex_sublist sublist{};
        std::vector<uint32_t> ifindexes;
    };
    std::vector<Block> blocks;
};

namespace {

constexpr uint32_t kNoSuchBlock = 0x40420001;

// Interface indexes are bit patterns, so the ranges compare them as unsigned numbers.
struct Range {
    uint32_t low, high;
};

// The ranges of the request's first token, ascending and disjoint, so that one search per interface is enough.
std::vector<Range> named_ranges(const qarn_req &req) {
    std::vector<Range> ranges;
    if (req.num_tokens == 0 || req.tokens[0]->value == nullptr) return ranges;
    const auto *list = static_cast<const qarn_range_list *>(req.tokens[0]->value);
    for (uint32_t i = 0; i < list->count; ++i) {
        const Range range{static_cast<uint32_t>(list->range[i].low), static_cast<uint32_t>(list->range[i].high)};
        if (range.low <= range.high) ranges.push_back(range);
    }
    std::ranges::sort(ranges, {}, &Range::low);
    std::vector<Range> disjoint;
    for (const Range &range : ranges) {
        if (disjoint.empty() || range.low > disjoint.back().high) {
            disjoint.push_back(range);
        } else {
            disjoint.back().high = std::max(disjoint.back().high, range.high);
        }
    }
    return disjoint;
}

bool contain(const std::vector<Range> &ranges, uint32_t if_index) {
    const auto after = std::ranges::upper_bound(ranges, if_index, {}, &Range::low);
    return after != ranges.begin() && if_index <= std::prev(after)->high;
}

std::shared_ptr<Switch::Chain> chain_of(const Switch &sw, const std::vector<Range> &selected) {
    auto chain = std::make_shared<Switch::Chain>();
    auto &blocks = chain->blocks;
    std::unordered_map<uint32_t, std::size_t> block_positions;
    for (const Interface &interface : sw.interfaces) {
        const auto [entry, is_new] = block_positions.emplace(interface.block, blocks.size());
        if (is_new) blocks.emplace_back().sublist.elem_id = interface.block;
        if (contain(selected, interface.index)) blocks[entry->second].ifindexes.push_back(interface.index);
    }
    std::erase_if(blocks, [](const auto &block) { return block.ifindexes.empty(); });
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        blocks[i].ifindexes.shrink_to_fit();
        blocks[i].sublist.count = static_cast<int32_t>(blocks[i].ifindexes.size());
        blocks[i].sublist.ifindexes = blocks[i].ifindexes.data();
        blocks[i].sublist.next = i + 1 < blocks.size() ? &blocks[i + 1].sublist : nullptr;
    }
    return chain;
}

} // namespace

extern "C" {

uint32_t if_manager_ifindex_list_get(struct qarn_req *req, struct ifindex_sublist **head, uint32_t flag) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("if_manager_ifindex_list_get", "%u", flag))
        return static_cast<uint32_t>(outcome->result);
    const std::vector<Range> every = {{0, std::numeric_limits<uint32_t>::max()}};
    auto chain = chain_of(sw, flag == 0 ? named_ranges(*req) : every);
    *head = chain->blocks.empty() ? nullptr : &chain->blocks.front().sublist;
    sw.chains.push_back(std::move(chain));
    return 0;
}

uint32_t if_manager_ifindex_list_find_by_elem(struct ifindex_sublist *head, uint32_t elem_id,
                                              struct ifindex_sublist **found) {
    if (const auto outcome = current().enter("if_manager_ifindex_list_find_by_elem", "%u", elem_id))
        return static_cast<uint32_t>(outcome->result);
    for (ifindex_sublist *sublist = head; sublist != nullptr; sublist = sublist->next) {
        if (sublist->elem_id != elem_id) continue;
        *found = sublist;
        return 0;
    }
    return kNoSuchBlock;
}

uint32_t if_index_is_port_channel_sub_interface(uint32_t if_index) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("if_index_is_port_channel_sub_interface", "0x%x", if_index))
        return static_cast<uint32_t>(outcome->result);
    const Interface *interface = sw.find_interface(if_index);
    return interface != nullptr && interface->port_channel_sub_interface;
}

int32_t snprintf_if_index(char *buffer, uint32_t size, uint32_t if_index) {
    const Interface *interface = current().find_interface(if_index);
    if (interface == nullptr) return std::snprintf(buffer, size, "if0x%x", if_index);
    return std::snprintf(buffer, size, "%s", interface->name.c_str());
}

} // extern "C"

} // namespace sim
