// The element store: what an entry is found by, and what happens to one that is entered again.
#include <tuple>

#include "support/story.h"

namespace {

class ElementStore : public test::Story {
  protected:
    ElementStore() { test::start_generation(&req); }
};

TEST_F(ElementStore, StaysAsItIsWithoutMemory) {
    qarn_elem *elem = test::store_element({.uuid = 5, .elem_id = 7});
    qarn_elem other = *elem;
    test::FailingMalloc memory;
    for (const int nth : {1, 2}) {
        memory.fail_nth(nth);
        qarn_merge_hash_insert(5, &other, merge_elem_table_p);
        EXPECT_EQ(qarn_merge_value_get(5, 7)->elem, elem) << nth;
    }
    memory.fail_nth(1);
    qarn_merge_hash_remove(5, elem, merge_elem_table_p);
    EXPECT_NE(qarn_merge_value_get(5, 7), nullptr);
}

TEST_F(ElementStore, AdmitsElementsToPassesByLevelAndKind) {
    const std::tuple<std::int32_t, std::int32_t, std::uint32_t, std::uint32_t, std::int32_t> cases[] = {
        {-1, 0, 5, 0, 1},  {-1, 0, 5, 4, 1},         {-1, 1, 5, 0xfb, 0}, {-1, 1, 5, 0x14, 1},
        {-1, 2, 5, 0, 1},  {5, 0, 5, 0, 1},          {5, 0, 6, 4, 0},     {5, 1, 5, 4, 1},
        {5, 1, 5, 0, 0},   {5, 1, 6, 4, 0},          {0, 0, 0, 0, 1},     {0, 0, 1, 0, 0},
        {12, 0, 12, 0, 1}, {0, 0, 0xffffffff, 0, 0}, {-2, 0, 5, 0, 0},    {-1, 0, 0xffffffff, 0, 1},
    };
    for (const auto &[pass_level, intf_only, level, property, admitted] : cases) {
        qarn_elem elem = {};
        elem.level = level;
        elem.property = property;
        qarn_merge_val value = {&elem, nullptr};
        qarn_merge_graph_info pass = {pass_level, intf_only, {}};
        EXPECT_EQ(qarn_merge_val_filter_check(&value, &pass), admitted)
            << pass_level << " " << intf_only << " " << level << " " << property;
    }
}

} // namespace
