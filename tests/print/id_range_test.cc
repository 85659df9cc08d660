// VLAN and VSAN sets: as the command names them, and as one line of the configuration.
#include <cstdint>
#include <cstring>
#include <tuple>

#include "support/story.h"

namespace {

using Ids = std::vector<int>;
using Ranges = std::vector<std::pair<std::int32_t, std::int32_t>>;

qarn_id_mask mask_of(const Ids &ids) {
    qarn_id_mask mask = {};
    for (const int id : ids)
        mask.bits[id / 8] = static_cast<std::uint8_t>(mask.bits[id / 8] | (0x80 >> id % 8));
    return mask;
}

Ids ids_of(const qarn_id_mask &mask) {
    Ids ids;
    for (int id = 0; id < 4096; ++id)
        if ((mask.bits[id / 8] & (0x80 >> id % 8)) != 0) ids.push_back(id);
    return ids;
}

Ids between(int first, int last) {
    Ids ids;
    for (int id = first; id <= last; ++id)
        ids.push_back(id);
    return ids;
}

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

TEST_F(IdRange, TakesTheIdsThatTheCommandNames) {
    const Ids all = between(0, 4095);
    const Ranges without_ids = {{INT32_MIN, 1}, {4094, INT32_MAX}, {4096, 5000}, {-9, -1}};
    const std::tuple<const char *, std::uint32_t, bool, Ranges, Ids, Ids, Ids> cases[] = {
        {"VSANs less those that may not be shown", 1, true, {{10, 12}, {20, 20}}, {11, 20, 30}, {11, 20}, all},
        {"VLANs", 2, true, {{10, 12}, {20, 20}, {0, 0}, {4095, 4095}}, {}, all, {0, 10, 11, 12, 20, 4095}},
        {"reversed", 2, true, {{12, 10}, {5, 5}}, all, all, {5}},
        {"no ranges", 2, true, {}, all, all, {}},
        {"no token", 1, false, {}, {1}, all, all},
        {"bounds without ids", 2, true, without_ids, all, all, {0, 1, 4094, 4095}},
    };
    for (const auto &[what, display, has_token, ranges, allowed, vsans, vlans] : cases) {
        cfg_display = display;
        req.num_tokens = 0;
        if (has_token) add_ranges_token(ranges);
        req.vsan_mask = mask_of(allowed);
        std::memset(&req.vlan_mask, 0, sizeof req.vlan_mask);
        qarn_id_mask vsan_mask, vlan_mask;
        std::memset(&vsan_mask, 0x55, sizeof vsan_mask);
        std::memset(&vlan_mask, 0x55, sizeof vlan_mask);
        qarn_vsan_mask_populate(&req, &vsan_mask);
        EXPECT_EQ(ids_of(req.vlan_mask), Ids()) << what;
        qarn_vlan_mask_populate(&req, &vlan_mask);
        EXPECT_EQ(ids_of(vsan_mask), vsans) << what;
        EXPECT_EQ(ids_of(vlan_mask), vlans) << what;
        EXPECT_EQ(ids_of(req.vlan_mask), all) << what;
        EXPECT_EQ(vsan_mask.len + vlan_mask.len + req.vlan_mask.len, 3 * 512u) << what;
    }
    cfg_display = QARN_DISPLAY_VLAN;
    req.num_tokens = 0;
    add_token(0);
    qarn_id_mask vlan_mask;
    qarn_vlan_mask_populate(&req, &vlan_mask);
    EXPECT_EQ(ids_of(vlan_mask), Ids()) << "a token without a value names nothing";
}

} // namespace
