// Whole commands: services and their replies are given, a command runs, and the text is compared.
#include "support/story.h"

namespace {

using test::Story;
using test::Tlv;

class ShowRunning : public Story {};

TEST_F(ShowRunning, PrintsAVlanBeforeTheSpanningTreeLineThatNeedsIt) {
    sw.service("vlan", 20, 383).replies(Tlv().element({.uuid = 383, .elem_id = 9, .level = 3}).text("vlan 10\n"));
    sw.service("stp", 21, 11)
        .replies(Tlv()
                     .element({.uuid = 11, .elem_id = 1, .level = 3})
                     .after(383, 9)
                     .text("spanning-tree vlan 10 priority 4096\n"));

    EXPECT_EQ(run(), 0u);
    EXPECT_EQ(body(),
              "vlan 10\n"
              "spanning-tree vlan 10 priority 4096\n\n");
}

} // namespace
