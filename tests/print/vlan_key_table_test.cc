// The VLAN service's key tables: each VLAN's contributions joined into one text, neighbours with the same text printed
// as one range.
#include "support/story.h"

namespace {

class VlanKeyTables : public test::Story {
  protected:
    // A VLAN under a name of its own, and the text that other services file for it.
    void add(const std::string &name, uint32_t vlan, const std::string &filed = "") {
        vlans.key(vlan, "", name);
        others.key_strings.emplace_back("vlan " + std::to_string(static_cast<int32_t>(vlan)) + "\n", filed);
    }
    std::string show() {
        sw.service("vlan", 20, QARN_UUID_VLAN).replies(vlans);
        EXPECT_EQ(run(), 0u);
        EXPECT_EQ(g_hash_table_size(vlan_reverse_table_p), 0u) << "a VLAN's text lives for one pass";
        EXPECT_EQ(keycount, 0) << "nothing is left to join";
        return body();
    }
    test::Tlv vlans = test::Tlv().element({.uuid = QARN_UUID_VLAN, .elem_id = 2});
    sim::Element &others = sw.service("others", 21, 1).element(1, 3);
};

TEST_F(VlanKeyTables, JoinNeighboursWithTheSameText) {
    for (const uint32_t vlan : {7u, 6u, 5u, 4u, 3u, 2u})
        add(std::to_string(vlan), vlan, vlan == 6 ? "  name b\n" : "  name a\n");
    EXPECT_EQ(show(), "vlan 2-5\n  name a\nvlan 6\n  name b\nvlan 7\n  name a\n");
}

TEST_F(VlanKeyTables, AreInTheOrderOfTheirNamesShortOnesFirst) {
    add("ten", 10, "  x\n");
    add("four", 3);
    add("five", 4);
    EXPECT_EQ(show(), "vlan 10\n  x\nvlan 3-4\n");
}

TEST_F(VlanKeyTables, PrintIdsOutsideTheSetOneByOne) {
    add("1", 4095);
    add("2", 4096, "  x\n");
    add("3", 4097, "  x\n");
    add("4", 0xffffffff, "  y\n");
    add("5", 0x7fffffff);
    EXPECT_EQ(show(), "vlan 4095\nvlan 4096\n  x\nvlan 4097\n  x\nvlan -1\n  y\nvlan 2147483647\n");
}

} // namespace
