// The VLANs and VSANs that a command asks the services for.
#include <qarncli/id_filter.h>

#include <cstring>

#include "support/ids.h"
#include "support/story.h"

namespace {

using test::between;
using test::Ids;
using test::mask_of;
using Ranges = std::vector<std::pair<int32_t, int32_t>>;

Ids ids_of(const qarn_id_mask &mask) {
    Ids ids;
    for (int id = 0; id < 4096; ++id)
        if ((mask.bits[id / 8] & (0x80 >> id % 8)) != 0) ids.push_back(id);
    return ids;
}

class IdFilter : public test::Story {};

TEST_F(IdFilter, TakesTheIdsThatTheCommandNames) {
    const Ranges without_ids = {{INT32_MIN, 1}, {4094, INT32_MAX}, {4096, 5000}, {-9, -1}};
    constexpr uint32_t kVsans = QARN_DISPLAY_VSAN, kVlans = QARN_DISPLAY_VLAN;
    const struct {
        const char *what;
        uint32_t display;
        bool has_token = true;
        Ranges ranges = {};
        Ids allowed = {}, vsans = between(0, 4095), vlans = between(0, 4095);
    } cases[] = {
        {.what = "VSANs", .display = kVsans, .ranges = {{10, 12}}, .allowed = {11, 20}, .vsans = {11}},
        {.what = "VLANs", .display = kVlans, .ranges = {{10, 11}, {0, 0}, {4095, 4095}}, .vlans = {0, 10, 11, 4095}},
        {.what = "reversed", .display = kVlans, .ranges = {{12, 10}, {5, 5}}, .vlans = {5}},
        {.what = "no ranges", .display = kVlans, .vlans = {}},
        {.what = "no token", .display = kVsans, .has_token = false, .allowed = {1}},
        {.what = "outside", .display = kVlans, .ranges = without_ids, .vlans = {0, 1, 4094, 4095}},
    };
    for (const auto &c : cases) {
        cfg_display = c.display;
        req.num_tokens = 0;
        if (c.has_token) add_ranges_token(c.ranges);
        req.vsan_mask = mask_of(c.allowed);
        std::memset(&req.vlan_mask, 0, sizeof req.vlan_mask);
        qarn_id_mask vsan_mask, vlan_mask;
        std::memset(&vsan_mask, 0x55, sizeof vsan_mask);
        std::memset(&vlan_mask, 0x55, sizeof vlan_mask);
        qarn_vsan_mask_populate(&req, &vsan_mask);
        EXPECT_EQ(ids_of(req.vlan_mask), Ids()) << c.what;
        qarn_vlan_mask_populate(&req, &vlan_mask);
        EXPECT_EQ(ids_of(vsan_mask), c.vsans) << c.what;
        EXPECT_EQ(ids_of(vlan_mask), c.vlans) << c.what;
        EXPECT_EQ(ids_of(req.vlan_mask), between(0, 4095)) << c.what;
        EXPECT_EQ(vsan_mask.len + vlan_mask.len + req.vlan_mask.len, 3 * sizeof vsan_mask.bits) << c.what;
    }
    cfg_display = QARN_DISPLAY_VLAN;
    req.num_tokens = 0;
    add_token(0);
    qarn_id_mask vlan_mask;
    qarn_vlan_mask_populate(&req, &vlan_mask);
    EXPECT_EQ(ids_of(vlan_mask), Ids()) << "a token without a value names nothing";
}

} // namespace
