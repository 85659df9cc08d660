// The list of SAPs that are asked and awaited, and the shell's table that fills it by rows.
#include <qarncli/service_list.h>

#include "platform/cmdshell.h"
#include "sim/cmdshell.h"
#include "support/story.h"

namespace {

class ServiceList : public test::Story {};

TEST_F(ServiceList, FindsTheFirstAndStrikesEveryEntryOfASap) {
    std::uint32_t list[] = {1, 2, 7, 4, 5, 7};
    EXPECT_EQ(qarn_sap_list_find(list, 6, 7), 2);
    EXPECT_EQ(qarn_sap_list_find(list, 2, 7), -1);
    EXPECT_EQ(qarn_sap_list_find(list, 0, 1), -1);
    EXPECT_EQ(qarn_sap_list_find(list, -3, 1), -1);
    qarn_sap_list_delete(list, -1, 1);
    qarn_sap_list_delete(list, 5, 7);
    EXPECT_EQ(std::vector(list, list + 6), (std::vector<std::uint32_t>{1, 2, 0, 4, 5, 7}));
}

TEST_F(ServiceList, TakesARowOfTheTableSlotBySlot) {
    sim::set_sap_row(3, {21, 22, 23}, 77);
    show_sap_table[4][3] = 31; // slot 2 only
    num_saps = 0;
    qarn_get_saps_from_sap_table(3);
    EXPECT_EQ(num_saps, 3);
    EXPECT_EQ(qarnkey, 77u);
    qarn_get_saps_from_sap_table(4);
    EXPECT_EQ(std::vector(saps, saps + 4), (std::vector<std::uint32_t>{21, 22, 31, 0}));
    EXPECT_EQ(num_saps, 4) << "the count goes on";
    for (const std::uint32_t row : {5u, 17u, 0xffffffffu})
        qarn_get_saps_from_sap_table(row);
    EXPECT_EQ(num_saps, 4) << "an empty row changes nothing";
    EXPECT_EQ(qarnkey, 0u) << "row 4 has key word 0";
    num_saps = 255;
    qarn_get_saps_from_sap_table(3);
    EXPECT_EQ(num_saps, 256);
}

} // namespace
