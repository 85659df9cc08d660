// A command's passes, with and without graphs: under the graph's debug bit each pass builds one, without it none does.
#include <random>

#include "support/story.h"

namespace {

class Passes : public test::Story {
  protected:
    // Twelve elements with up to three dependencies each, some of which close loops.
    void make_switch(unsigned seed) {
        std::mt19937 random(seed);
        const auto below = [&](uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(random); };
        sw.services.clear();
        for (uint32_t uuid = 1; uuid <= 3; ++uuid) {
            sim::Service &service = sw.service("s" + std::to_string(uuid), 20 + uuid, uuid);
            for (uint32_t id = 1; id <= 4; ++id) {
                sim::Element &elem = service.element(id, below(2), below(4) == 0 ? QARN_PROP_INTF : 0);
                if (below(6) == 0) elem.property |= QARN_PROP_CONDITIONAL;
                elem.text = below(4) == 0 ? "" : "x\n";
                for (uint32_t n = below(4); n > 0; --n) {
                    const uint32_t on = 1 + below(3), on_id = 1 + below(5);
                    const bool is_later = (on * 7 + on_id * 3 + seed) % 11 >= (uuid * 7 + id * 3 + seed) % 11;
                    const bool is_condition = is_later && below(8) != 0;
                    elem.dependencies.push_back({on, on_id, is_condition ? QARN_DEP_CONDITIONAL : QARN_DEP_ORDER});
                }
            }
        }
    }

    static std::string keys_in(const queue &queue) {
        std::string keys;
        for (const queue_node *node = queue.head; node != nullptr; node = node->next) {
            const auto &vertex = *static_cast<const struct vertex *>(node->data);
            const auto &key = *static_cast<const qarn_merge_key *>(vertex.data);
            keys += ' ' + std::to_string(key.uuid) + '.' + std::to_string(key.elem_id);
            if (vertex.visited != 1 || vertex.in_degree != 0) keys += '?';
            EXPECT_EQ(qarn_merge_value_get(key.uuid, key.elem_id)->elem->elem_id, key.elem_id);
        }
        return keys + " (" + std::to_string(queue.count) + ')';
    }

    std::string queues_under(uint32_t debug_mask) {
        intf_element_q = keystr_element_q = {};
        req.dbg_mask = debug_mask;
        run();
        return std::to_string(status) + keys_in(intf_element_q) + keys_in(keystr_element_q);
    }
};

TEST_F(Passes, FillTheSameQueuesWithAndWithoutGraphs) {
    int loops = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        make_switch(seed);
        EXPECT_EQ(queues_under(0), queues_under(QARN_DEBUG_GRAPH)) << seed;
        if (status != 0) ++loops;
    }
    EXPECT_GT(loops, 20);
}

} // namespace
