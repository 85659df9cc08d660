// From the element store to the graph of one ordering pass, for callers outside of a generation.
#include "support/story.h"

namespace {

using test::add_dependency;
using test::store_element;

class PassGraph : public test::Story {};

TEST_F(PassGraph, NeverUsesAVertexOfAnEarlierPass) {
    test::start_generation(&req);
    qarn_elem *conditional = store_element({.uuid = 1, .elem_id = 1, .property = QARN_PROP_CONDITIONAL});
    add_dependency(conditional, 3, 1, QARN_DEP_CONDITIONAL);
    qarn_elem *condition = store_element({.uuid = 3, .elem_id = 1}, "text");
    add_dependency(store_element({.uuid = 2, .elem_id = 1}), 1, 1);
    for (const bool satisfied : {true, false}) {
        if (!satisfied) g_string_truncate(condition->cfg_str, 0);
        qarn_merge_graph_info pass;
        qarn_merge_graph_info_init(&pass, QARN_EVERY_LEVEL, 0);
        g_hash_table_foreach(merge_elem_table_p, qarn_graph_vertex_add, &pass);
        g_hash_table_foreach(merge_elem_table_p, qarn_graph_edge_add, &pass);
        EXPECT_EQ(pass.graph.num_vertices, satisfied ? 3 : 2);
        const vertex *waited_for = qarn_merge_value_get(1, 1)->vertex;
        ASSERT_EQ(waited_for != nullptr, satisfied);
        if (waited_for == nullptr) continue;
        EXPECT_EQ(waited_for->edges->to, qarn_merge_value_get(2, 1)->vertex);
    }
}

} // namespace
