// From a graph to print order. Graphs are written as text, "383.9 -> 11.1, 5.5", and so is the queue that comes out.
#include <sstream>

#include "support/story.h"

namespace {

class Ordering : public test::Story {
  protected:
    // A fresh graph; a vertex is made where it is first named.
    void draw(const std::string &description) {
        init_graph(&drawn);
        vertices.clear();
        std::istringstream items(description);
        for (std::string item; std::getline(items, item, ',');) {
            std::istringstream words(item);
            std::string from, arrow, to;
            words >> from >> arrow >> to;
            vertex *source = vertex_of(from);
            if (!to.empty()) add_edge(source, vertex_of(to));
        }
    }
    vertex *vertex_of(const std::string &name) {
        if (vertices.contains(name)) return vertices[name];
        const std::size_t dot = name.find('.');
        keys.push_back(
            {static_cast<uint16_t>(std::stoul(name)), static_cast<uint16_t>(std::stoul(name.substr(dot + 1)))});
        return vertices[name] = add_vertex(&drawn, &keys.back());
    }
    // "0: 383.9 11.1": the result and the queue.
    std::string order(int32_t (*visit_fn)(graph *, queue *) = visit2) {
        watch([&] { result = visit_fn(&drawn, &ordered); });
        std::string line = std::to_string(result) + ":";
        for (const queue_node *node = ordered.head; node != nullptr; node = node->next) {
            const auto &key = *static_cast<qarn_merge_key *>(static_cast<vertex *>(node->data)->data);
            line += " " + std::to_string(key.uuid) + "." + std::to_string(key.elem_id);
        }
        return line;
    }
    std::string order(const std::string &description, int32_t (*visit_fn)(graph *, queue *) = visit2) {
        draw(description);
        return order(visit_fn);
    }

    graph drawn = {};
    queue ordered = {};
    int32_t result = 0;
    std::map<std::string, vertex *> vertices;
    std::deque<qarn_merge_key> keys;
};

TEST_F(Ordering, SweepsInKeyOrderAndVisitsFirstInFirstOut) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"", "0:", "0:"},
        {"3.1, 2.0, 1.65535, 11.1, 2.10", "0: 1.65535 2.0 2.10 3.1 11.1", "0: 2.10 11.1 1.65535 2.0 3.1"},
        {"383.9 -> 11.1, 5.5", "0: 5.5 383.9 11.1", "0: 5.5 383.9 11.1"},
        {"1.3 -> 1.2, 1.2 -> 1.1, 1.4", "0: 1.3 1.4 1.2 1.1", "0: 1.4 1.3 1.2 1.1"},
        {"1.1 -> 1.2, 1.1 -> 1.2, 1.2 -> 1.3, 1.1 -> 1.3", "0: 1.1 1.2 1.3", "0: 1.1 1.2 1.3"},
        {"1.1 -> 1.2, 1.2 -> 1.1, 1.3, 1.4 -> 1.1", "-1: 1.3 1.4", "-1: 1.4 1.3"},
        {"1.1 -> 1.1", "-1:", "-1:"},
    };
    for (const auto &[description, swept, visited] : cases) {
        EXPECT_EQ(order(description), swept) << description;
        EXPECT_EQ(order(description, visit), visited) << description;
    }
}

TEST_F(Ordering, GivesTheQueueThatMemoryAllows) {
    test::FailingMalloc memory;
    EXPECT_EQ(order(""), "0:");
    EXPECT_EQ(memory.calls(), 0);
    draw("1.1 -> 1.2, 1.3");
    memory.fail_nth(1, 3 * sizeof(vertex *));
    EXPECT_EQ(order(), "-1:");
    memory.fail_nth(1, sizeof(queue_node));
    EXPECT_EQ(order(), "0: 1.2 1.3") << "an element without a node is not printed, the others are";
}

TEST_F(Ordering, AbortsAVisitWithoutMemory) {
    draw("1.1 -> 1.2");
    test::FailingMalloc memory;
    EXPECT_DEATH((memory.fail_nth(1), visit(&drawn, &ordered)), "visit: not enough memory\\.");
    EXPECT_DEATH((memory.fail_nth(3), visit(&drawn, &ordered)), "visit: not enough memory \\(2\\)\\.");
}

TEST_F(Ordering, NeverUsesAVertexOfAnEarlierPass) {
    test::start_generation(&req);
    const test::Tlv tlv = test::Tlv()
                              .element({.uuid = 1, .elem_id = 1, .property = QARN_PROP_CONDITIONAL})
                              .after(3, 1, QARN_DEP_CONDITIONAL)
                              .element({.uuid = 3, .elem_id = 1})
                              .text("text");
    qarn_parse_tlv(tlv.array().data(), merge_elem_table_p);
    for (const bool is_satisfied : {true, false}) {
        if (!is_satisfied) g_string_truncate(qarn_merge_value_get(3, 1)->elem->cfg_str, 0);
        qarn_merge_graph_info pass;
        qarn_merge_graph_info_init(&pass, QARN_EVERY_LEVEL, 0);
        g_hash_table_foreach(merge_elem_table_p, qarn_graph_vertex_add, &pass);
        EXPECT_EQ(pass.graph.num_vertices, is_satisfied ? 2 : 1);
        EXPECT_EQ(qarn_merge_value_get(1, 1)->vertex != nullptr, is_satisfied);
    }
}

} // namespace
