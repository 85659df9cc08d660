// From the element store to the graph of one ordering pass. Graphs are compared as text: every vertex with those that
// wait for it.
#include <set>

#include "support/story.h"

namespace {

using test::add_dependency;
using test::store_element;

std::string name_of(const vertex *v) {
    const auto &key = *static_cast<const qarn_merge_key *>(v->data);
    return std::to_string(key.uuid) + "." + std::to_string(key.elem_id);
}

class PassGraph : public test::Story {
  protected:
    PassGraph() { test::start_generation(&req); }

    // "1.1 -> 2.1 2.2, 2.1, 2.2"
    std::string build(std::int32_t level = -1, std::int32_t intf_only = 0) {
        watch([&] {
            qarn_merge_graph_info_init(&pass, level, intf_only);
            g_hash_table_foreach(merge_elem_table_p, qarn_graph_vertex_add, &pass);
            g_hash_table_foreach(merge_elem_table_p, qarn_graph_edge_add, &pass);
        });
        std::set<std::string> vertices;
        for (const vertex *v = pass.graph.vertices; v != nullptr; v = v->next) {
            std::multiset<std::string> waiting;
            for (const edge *e = v->edges; e != nullptr; e = e->next)
                waiting.insert(name_of(e->to));
            std::string line = name_of(v) + (waiting.empty() ? "" : " ->");
            for (const std::string &name : waiting)
                line += " " + name;
            vertices.insert(line);
        }
        EXPECT_EQ(vertices.size(), static_cast<std::size_t>(pass.graph.num_vertices));
        std::string graph;
        for (const std::string &line : vertices)
            graph += (graph.empty() ? "" : ", ") + line;
        return graph;
    }

    qarn_merge_graph_info pass = {};
};

TEST_F(PassGraph, TakesDependenciesAsTheyAre) {
    qarn_elem *elem = store_element({.uuid = 1, .elem_id = 1});
    store_element({.uuid = 1, .elem_id = 2});
    add_dependency(elem, 1, 2);
    add_dependency(elem, 0x10001, 2);
    add_dependency(elem, 1, 1);
    add_dependency(elem, 9, 9);
    add_dependency(elem, 1, 2, QARN_DEP_CONDITIONAL);
    add_dependency(elem, 1, 2, 7);
    EXPECT_EQ(build(), "1.1 -> 1.1, 1.2 -> 1.1 1.1");
}

TEST_F(PassGraph, NeverUsesAVertexOfAnEarlierPass) {
    qarn_elem *conditional = store_element({.uuid = 1, .elem_id = 1, .property = QARN_PROP_CONDITIONAL});
    add_dependency(conditional, 3, 1, QARN_DEP_CONDITIONAL);
    qarn_elem *condition = store_element({.uuid = 3, .elem_id = 1}, "text");
    add_dependency(store_element({.uuid = 2, .elem_id = 1}), 1, 1);
    add_dependency(conditional, 2, 1);
    EXPECT_EQ(build(), "1.1 -> 2.1, 2.1 -> 1.1, 3.1");
    g_string_truncate(condition->cfg_str, 0);
    const vertex *earlier = qarn_merge_value_get(2, 1)->vertex;
    EXPECT_EQ(build(), "2.1, 3.1");
    EXPECT_NE(qarn_merge_value_get(2, 1)->vertex, earlier);
}

TEST_F(PassGraph, IsWhatMemoryAllows) {
    add_dependency(store_element({.uuid = 1, .elem_id = 1}), 1, 2);
    store_element({.uuid = 1, .elem_id = 2});
    test::FailingMalloc memory;
    memory.fail_all(sizeof(edge));
    EXPECT_EQ(build(), "1.1, 1.2");
    for (const int nth : {1, 2}) {
        memory.fail_nth(nth, sizeof(vertex));
        build();
        EXPECT_EQ(pass.graph.num_vertices, 1);
        EXPECT_EQ(pass.graph.vertices->edges, nullptr);
        EXPECT_EQ(pass.graph.vertices->next, nullptr);
    }
}

} // namespace
