// VDC manager: the virtual device contexts of the switch, in a map with a fixed number of entries.
#include "platform/vdc.h"

#include <algorithm>

#include "sim/switch.h"

namespace sim {
namespace {

constexpr uint32_t kUnknownVdc = 0x40410001;

} // namespace

extern "C" {

uint32_t vdc_map_get(struct vdc_map_entry **map) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("vdc_map_get")) return static_cast<uint32_t>(outcome->result);
    static vdc_map_entry entries[VDC_MAP_ENTRIES];
    for (std::size_t i = 0; i < std::size(entries); ++i) {
        entries[i] = {};
        if (i >= sw.vdcs.size()) continue;
        entries[i].id = sw.vdcs[i].id;
        std::snprintf(entries[i].name, sizeof entries[i].name, "%s", sw.vdcs[i].name.c_str());
    }
    *map = entries;
    return 0;
}

uint32_t vdc_is_active(uint32_t id, uint32_t *is_active) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("vdc_is_active", "%u", id)) return static_cast<uint32_t>(outcome->result);
    const auto found = std::ranges::find(sw.vdcs, id, &Vdc::id);
    if (found == sw.vdcs.end()) return kUnknownVdc;
    *is_active = found->active;
    return 0;
}

uint32_t vdc_get_type(void) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("vdc_get_type")) return static_cast<uint32_t>(outcome->result);
    return sw.vdc_type;
}

} // extern "C"

} // namespace sim
