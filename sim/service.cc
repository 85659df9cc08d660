// The reply of a service from its elements. It leaves to the library what the library filters anyway (views, features)
// and filters what only a service can: the port profile that an element belongs to, and the interfaces and VLANs that
// the request names. Secrets are hidden here, whether the elements come from the description or from the store.
#include "sim/service.h"

#include <algorithm>
#include <cstring>

#include "sim/secret.h"

namespace sim {
namespace {

struct ViewBit {
    uint32_t display, property;
};
// The VLAN view shows VLANs only, no interfaces: an element of every view is not part of it.
constexpr ViewBit kViewBits[] = {
    {QARN_DISPLAY_VSAN, QARN_PROP_VSAN},
    {QARN_DISPLAY_BFD, QARN_PROP_BFD},
    {QARN_DISPLAY_L2MP, QARN_PROP_L2MP},
    {QARN_DISPLAY_FEX, QARN_PROP_FEX},
};

uint32_t view_bit(uint32_t display) {
    const auto *const row = std::ranges::find(kViewBits, display, &ViewBit::display);
    return row != std::ranges::end(kViewBits) ? row->property : 0;
}

bool mask_has(const qarn_id_mask &mask, uint32_t id) {
    return id < 8 * sizeof mask.bits && (mask.bits[id >> 3] & (0x80u >> (id & 7))) != 0;
}

// The interfaces of a request, sorted on first use: most services have no text per interface.
class WantedInterfaces {
  public:
    explicit WantedInterfaces(const qarn_cfg_req_msg &request) : request_(request) {}

    bool has(uint32_t if_index) {
        if (sorted_.size() != request_.num_ifindex) {
            sorted_.assign(request_.ifindex_list, request_.ifindex_list + request_.num_ifindex);
            if (!std::ranges::is_sorted(sorted_)) std::ranges::sort(sorted_);
        }
        return std::ranges::binary_search(sorted_, if_index);
    }

  private:
    const qarn_cfg_req_msg &request_;
    std::vector<uint32_t> sorted_;
};

bool is_requested(const Element &element, const qarn_cfg_req_msg &request) {
    if (request.display != QARN_DISPLAY_PROFILE) return true;
    constexpr std::size_t kSize = sizeof request.profile_name; // a name that fills the field has no NUL
    const std::string_view name(request.profile_name, strnlen(request.profile_name, kSize));
    return !element.port_profile.empty() && std::string_view(element.port_profile).substr(0, kSize) == name;
}

void append_element(const Service &service, const Element &element, const qarn_cfg_req_msg &request,
                    WantedInterfaces &wanted, Tlv &tlv) {
    tlv.element({.uuid = service.uuid,
                 .elem_id = element.id,
                 .level = element.level,
                 .property = element.property | (element.every_view ? view_bit(request.display) : 0),
                 .val_type = element.val_type});
    for (const Dependency &dependency : element.dependencies)
        tlv.after(dependency.uuid, dependency.elem_id, dependency.type);
    if (!element.text.empty()) tlv.text(element.text);
    const uint32_t stamp = service.faults.bad_stamp ? ~uint32_t{QARN_CMD_STAMP} : uint32_t{QARN_CMD_STAMP};
    for (const auto &[if_index, text] : element.intf_texts) {
        if (!wanted.has(if_index)) continue;
        if (element.val_type == QARN_VAL_COMMAND) {
            tlv.intf_command(if_index, command_message(text, stamp));
        } else {
            tlv.intf_text(if_index, text);
        }
    }
    for (const KeyString &filed : element.key_strings)
        tlv.key_string(filed.name, filed.text);
    for (const Key &key : element.keys) {
        if (service.uuid == QARN_UUID_VLAN && !mask_has(request.vlan_mask, key.index)) continue;
        tlv.key(key.index, key.map, key.name);
    }
}

} // namespace

Service &Service::replies(const Tlv &tlv) {
    script = [reply = tlv.reply()](const qarn_cfg_req_msg &) { return reply; };
    return *this;
}

Service &Service::silent() {
    is_silent = true;
    return *this;
}

Element &Service::element(uint32_t id, uint32_t level, uint32_t property) {
    Element &added = elements.emplace_back();
    added.id = id;
    added.level = level;
    added.property = property;
    return added;
}

Bytes answer_from_elements(const Service &service, const qarn_cfg_req_msg &request) {
    Tlv tlv;
    WantedInterfaces wanted(request);
    for (const Element &element : service.elements) {
        if (!is_requested(element, request)) continue;
        if (element.secret && current().hides_secrets) {
            append_element(service, without_secrets(element), request, wanted, tlv);
        } else {
            append_element(service, element, request, wanted, tlv);
        }
    }
    return tlv.reply(service.status);
}

} // namespace sim
