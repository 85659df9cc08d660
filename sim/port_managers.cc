// Port-channel, port-profile and platform managers: the members of a port channel, the lines that an interface inherits
// from its port profile, and the card id of this module.
#include "platform/port_managers.h"

#include <algorithm>

#include "sim/secret.h"
#include "sim/switch.h"

namespace sim {
namespace {

constexpr uint32_t kNotAPortChannel = 0x40600001;

bool is_port_channel(const Interface &interface) {
    return interface.block == PCM_BLOCK_ELEM_ID || !interface.members.empty();
}

// The lines that the interface inherits.
std::string inherited_lines(const Switch &sw, uint32_t if_index) {
    const Interface *interface = sw.find_interface(if_index);
    if (interface == nullptr || interface->port_profile.empty()) return "";
    const auto profile = sw.port_profiles.find(interface->port_profile);
    if (profile == sw.port_profiles.end()) return "";
    const auto secret = sw.secret_profiles.find(profile->first);
    const bool is_hidden = sw.hides_secrets && secret != sw.secret_profiles.end();
    return is_hidden ? without_secrets(profile->second, secret->second) : profile->second;
}

} // namespace

extern "C" {

uint32_t pcm_get_pc_info(struct pc_info *info) {
    Switch &sw = current();
    const uint32_t if_index = info->pc_if_index;
    if (const auto outcome = sw.enter("pcm_get_pc_info", "%u, 0x%x", uint32_t{info->vdc_id}, if_index))
        return static_cast<uint32_t>(outcome->result);
    const Interface *port_channel = sw.find_interface(if_index);
    if (port_channel == nullptr || !is_port_channel(*port_channel)) return kNotAPortChannel;
    const auto &members = port_channel->members;
    info->num_members = static_cast<uint32_t>(members.size());
    for (std::size_t i = 0; i < std::min<std::size_t>(members.size(), QARN_MAX_PC_MEMBERS); ++i)
        info->members[i].if_index = members[i];
    return 0;
}

GString *ppm_intf_shrun_merge(uint32_t handle, uint32_t if_index, GString *text, struct ppm_merge_input input) {
    Switch &sw = current();
    if (sw.enter("ppm_intf_shrun_merge", "%u, 0x%x, {%u, %u, %u, %u, %u, %u}", handle, if_index, input.cmd_code,
                 input.reserved, input.script_mode, input.cfg_source, input.bypass, input.token_mode))
        return nullptr;
    GString *merged = g_string_new_len(text->str, static_cast<gssize>(text->len));
    const std::string lines = input.bypass != 0 ? "" : inherited_lines(sw, if_index);
    if (lines.empty()) return merged;
    g_string_append_len(merged, lines.data(), static_cast<gssize>(lines.size()));
    if (lines.back() != '\n') g_string_append_c(merged, '\n');
    return merged;
}

uint32_t pfm_get_sw_card_id_from_module(void) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("pfm_get_sw_card_id_from_module")) return static_cast<uint32_t>(outcome->result);
    return sw.card;
}

} // extern "C"

} // namespace sim
