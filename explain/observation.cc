#include "explain/observation.h"

#include <qarncli/element.h>
#include <qarncli/globals.h>
#include <qarncli/id_mask.h>
#include <qarncli/message.h>

#include <bit>
#include <cstring>
#include <iterator>

namespace explain {
namespace {

using Form = Printed::Form;

constexpr struct {
    std::string_view format;
    Form form;
} kForms[] = {
    {"\ninterface %s\n", Form::kInterfaceLine},
    {"vlan %s\n", Form::kVlanLine},
    {"vlan configuration %s\n", Form::kVlanLine},
    {"%s\n", Form::kCommand},
    {"\n", Form::kNewline},
    {"!Time: %s", Form::kHeader},
    {"!Startup config saved at: %s\n", Form::kHeader},
    {"\nversion %s\n", Form::kHeader},
    {"version %s\n", Form::kHeader},
    {"\nconfigure sync\n%s%scommit\n", Form::kSwitchProfile},
    {"\n%s", Form::kSwitchProfile},
};

bool is_collecting() {
    return g_intf_config_str != nullptr;
}

std::size_t collected_in(std::string_view body) {
    const std::string_view collected(g_intf_config_str->str, g_intf_config_str->len);
    return body.starts_with(collected) ? collected.size() : 0;
}

// The first VLAN of the group that is being printed.
int32_t first_vlan() {
    for (std::size_t i = 0; i < std::size(vlan_all_bitset.bits); ++i)
        if (const uint8_t byte = vlan_all_bitset.bits[i]; byte != 0)
            return static_cast<int32_t>(8 * i) + std::countl_zero(byte);
    return g_vlan_id; // one that fits no set is a group of its own
}

} // namespace

Form Observation::form_of_text(const char *argument) {
    if (is_collecting()) return Form::kBody;
    if (keylist == nullptr || (totalkeys > 0 && keylist[0] == argument)) next_slot_ = 0; // another pass
    if (keylist != nullptr && next_slot_ < totalkeys && keylist[next_slot_] == argument) {
        ++next_slot_;
        return Form::kKeyHeader;
    }
    return Form::kText;
}

Form Observation::form_of(std::string_view format, const char *argument) {
    if (argument != nullptr) return form_of_text(argument);
    if (format.starts_with("\n!Command: ")) return Form::kHeader;
    for (const auto &known : kForms)
        if (format == known.format) return known.form != Form::kCommand || is_collecting() ? known.form : Form::kOther;
    return Form::kOther;
}

void Observation::printed(const char *format, const char *argument, std::string_view text) {
    end_decoding();
    const Form form = form_of(format, argument);
    const bool is_of_vlans = g_intf_uuid == QARN_UUID_VLAN && (form == Form::kVlanLine || form == Form::kText);
    calls_.push_back({.form = form,
                      .was_converting = ddas_qarn_cnv_handle_p != nullptr,
                      .printing = key_of(g_intf_uuid, g_intf_elem),
                      .vlan = is_of_vlans ? first_vlan() : -1,
                      .size = text.size(),
                      .collected = form == Form::kBody ? collected_in(text) : 0,
                      .argument = argument});
    text_.append(text);
}

// The library decodes a complete reply before it receives or prints anything else.
void Observation::end_decoding() {
    if (decoding_ != nullptr) decoding_->decoded = Clock::now();
    decoding_ = nullptr;
}

void Observation::program_printed(std::string_view text) {
    calls_.push_back({.form = Form::kSavedText,
                      .was_converting = false,
                      .printing = {},
                      .vlan = -1,
                      .size = text.size(),
                      .collected = 0,
                      .argument = nullptr});
    text_.append(text);
}

void Observation::rendered(std::string_view) {}
// SAP 0 stands for all that the library awaits.
void Observation::sent(uint32_t sap, uint32_t, const sim::Bytes &) {
    if (sap != 0) asked_.insert(sap);
    for (int32_t i = 0; sap == 0 && i < num_saps; ++i)
        asked_.insert(saps[i]);
}

void Observation::received_nothing(int) {}

void Observation::received(const sim::Message &message) {
    qarn_cfg_frag header;
    if (message.opcode != QARN_OPC_REPLY || message.payload.size() < sizeof header) return;
    std::memcpy(&header, message.payload.data(), sizeof header);
    Answer &answer = answers_[header.sap];
    const auto now = message.came_after ? begin_ + *message.came_after : Clock::now();
    if (answer.fragments++ == 0) {
        answer.sap = header.sap;
        answer.first = now;
    }
    answer.last = now;
    const std::string_view data = std::string_view(message.payload).substr(sizeof header, header.len);
    answer.bytes += data.size();
    answer.rest.append(data);
    if (header.last == 0) return;
    replies_.push_back({header.sap, answer.replies.size()});
    answer.replies.push_back(std::move(answer.rest));
    answer.rest.clear();
    decoding_ = &answer;
}

} // namespace explain
