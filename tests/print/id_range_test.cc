// A set of VLANs or VSANs as one line of the configuration.
#include <tuple>

#include "support/ids.h"
#include "support/story.h"

namespace {

using test::between;
using test::Ids;
using test::mask_of;

class IdRange : public test::Story {};

TEST_F(IdRange, PrintsASetAsItsRuns) {
    Ids pairs;
    std::string longest;
    for (int id = 0; id < 4096; id += 3) {
        pairs.push_back(id);
        if (id < 4095) pairs.push_back(id + 1);
        longest += (id == 0 ? "" : ",") + std::to_string(id) + (id < 4095 ? "-" + std::to_string(id + 1) : "");
    }
    const std::tuple<const char *, Ids, std::string> cases[] = {
        {"nothing", {}, ""},
        {"runs of one, two and three", {1, 2, 3, 5, 7, 8, 4095}, "1-3,5,7-8,4095"},
        {"across words", between(31, 96), "31-96"},
        {"everything", between(0, 4095), "0-4095"},
        {"the longest", pairs, longest},
    };
    EXPECT_EQ(longest.size(), 12913u);
    for (const auto &[what, id_list, expected] : cases) {
        const qarn_id_mask mask = mask_of(id_list);
        watch([&] { qarn_vlan_mask_print(&mask); });
        EXPECT_EQ(text, "vlan " + expected + "\n") << what;
        watch([&] { qarn_vlan_config_mask_print(&mask); });
        EXPECT_EQ(text, "vlan configuration " + expected + "\n") << what;
        watch([&] { qarn_vsan_mask_print(&mask); });
        EXPECT_EQ(text, "\nvsans " + expected + "\n") << what;
    }
}

} // namespace
