#include "explain/origins.h"

#include <qarncli/element_store.h>

#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "explain/contributions.h"

namespace explain {
namespace {

using Form = Printed::Form;

constexpr uint32_t kVlanConfiguration = 5; // id of the element of the VLAN service that has such lines

// A position for every different value; the first one is that of the empty value.
template <typename Value>
class Interned {
  public:
    Interned() { position_of({}); }
    uint32_t position_of(const Value &value) {
        if (!values.empty() && value == values.back()) return static_cast<uint32_t>(values.size() - 1);
        const auto [known, is_new] = positions_.emplace(value, static_cast<uint32_t>(values.size()));
        if (is_new) values.push_back(value);
        return known->second;
    }
    std::vector<Value> values;

  private:
    std::map<Value, uint32_t> positions_;
};

std::string_view without_newlines(std::string_view text) {
    while (text.starts_with('\n'))
        text.remove_prefix(1);
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    return text;
}

class Attribution {
  public:
    explicit Attribution(const Subject &subject)
        : observation_(subject.observation), switch_(subject.sw), senders_of_(subject.senders) {
        for (const sim::Interface &interface : subject.sw.interfaces)
            interfaces_.emplace(interface.name, interface.index);
    }

    Origins run() {
        pieces_.reserve(observation_.calls().size());
        std::string_view rest = observation_.text();
        for (const Printed &call : observation_.calls()) {
            text_ = rest.substr(0, call.size);
            rest.remove_prefix(call.size);
            call_ = &call;
            attribute();
        }
        return {std::move(pieces_), std::move(senders_.values), std::move(contexts_.values)};
    }

  private:
    void attribute() {
        switch (call_->form) {
            case Form::kHeader:
                return add(Rule::kHeader);
            case Form::kInterfaceLine:
                return open_interface();
            case Form::kVlanLine:
                return open_vlans();
            case Form::kKeyHeader:
                context_ = contexts_.position_of(std::string(without_newlines(text_)));
                return add_of(Rule::kKeyHeader, call_->printing);
            case Form::kBody:
                return add_body();
            case Form::kCommand:
                return add_command();
            case Form::kNewline:
                return add(Rule::kSeparator);
            case Form::kSwitchProfile:
                return add(Rule::kSwitchProfile);
            case Form::kSavedText:
                return add(Rule::kSavedText);
            case Form::kText:
                return add_text();
            case Form::kOther:
                return add(Rule::kNotice);
        }
    }

    Piece piece(Rule rule, std::size_t size) const {
        return {.size = size,
                .rule = rule,
                .has_element = false,
                .element = {},
                .printed_by = call_->printing,
                .level = 0,
                .senders = 0,
                .context = has_context(rule) ? context_ : 0};
    }

    static bool has_context(Rule rule) {
        switch (rule) {
            case Rule::kNotice:
            case Rule::kHeader:
            case Rule::kSeparator:
            case Rule::kOwnText:
            case Rule::kConvertedText:
            case Rule::kSwitchProfile:
            case Rule::kSavedText:
                return false;
            default:
                return true;
        }
    }

    void add(Rule rule) {
        if (!text_.empty()) pieces_.push_back(piece(rule, text_.size()));
    }

    // `sap` is that of the sender, if it is known; 0: all that sent the element.
    void add_part(Rule rule, std::size_t size, Key element, uint32_t sap) {
        if (size == 0) return;
        Piece part = piece(rule, size);
        part.has_element = true;
        part.element = element;
        if (const qarn_merge_val *value = qarn_merge_value_get(element.uuid, element.id))
            part.level = value->elem->level;
        part.senders = senders_.position_of(sap != 0 ? std::vector<uint32_t>{sap} : senders_of_.of(element));
        pieces_.push_back(part);
    }
    void add_of(Rule rule, Key element, uint32_t sap = 0) { add_part(rule, text_.size(), element, sap); }

    void open_interface() {
        const std::string_view name = without_newlines(text_).substr(std::string_view("interface ").size());
        context_ = contexts_.position_of(std::string(name));
        const auto found = interfaces_.find(name);
        opened_before_ = if_index_;
        open(found != interfaces_.end() ? std::optional(found->second) : std::nullopt);
        add_of(Rule::kInterfaceLine, call_->printing);
    }

    void open(std::optional<uint32_t> if_index) {
        if_index_ = if_index;
        values_ = if_index ? &contributions_.for_interface(*if_index) : nullptr;
        next_command_ = 0;
    }

    void open_vlans() {
        single_vlan_.reset();
        context_ = contexts_.position_of(std::string(without_newlines(text_)));
        add_of(Rule::kVlanLine, call_->printing);
    }

    // The collected text is what the elements have for the interface, one after the other. The platform may have put
    // more after it, or something else in its place.
    void add_body() {
        const std::string_view body = text_;
        text_ = body.substr(0, call_->collected);
        add_collected();
        text_ = body.substr(call_->collected);
        add(Rule::kMerge);
    }

    // In the display of one service the name of an interface of an earlier walk may stand between the line of the
    // block and its text.
    void add_collected() {
        if (!is_collected_text() && opened_before_) open(opened_before_);
        if (!is_collected_text()) return add(Rule::kInterfaceText);
        for (const InterfaceValue &value : *values_) {
            const Key key = key_of(*value.element);
            if (value.text != nullptr)
                add_part(Rule::kInterfaceText, value.text->len, key, senders_of_.of_interface(key, *if_index_));
        }
    }

    bool is_collected_text() const {
        if (values_ == nullptr) return false;
        std::string_view rest = text_;
        for (const InterfaceValue &value : *values_) {
            if (value.text == nullptr) continue;
            if (!rest.starts_with(value.text->str)) return false;
            rest.remove_prefix(value.text->len);
        }
        return rest.empty();
    }

    // The library prints the commands of an interface in the order of their elements, ahead of the texts.
    void add_command() {
        while (values_ != nullptr && next_command_ < values_->size()) {
            const InterfaceValue &value = (*values_)[next_command_++];
            if (value.text != nullptr) continue;
            const Key key = key_of(*value.element);
            return add_of(Rule::kCommand, key, senders_of_.of_interface(key, *if_index_));
        }
        add(Rule::kCommand);
    }

    void add_text() {
        if (const qarn_elem *element = contributions_.own_text_at(call_->argument)) return add_own(*element);
        if (const KeyString *found = contributions_.key_string_at(call_->argument)) {
            const Key key = key_of(*found->element);
            return add_of(Rule::kKeyString, key, senders_of_.of_key_string(key, found->name));
        }
        if (call_->vlan >= 0) return add_vlan_text();
        if (is_of_switch_profile()) return add(Rule::kSwitchProfile);
        if (call_->was_converting) return add_of(Rule::kConvertedText, call_->printing);
        add(Rule::kNotice);
    }

    void add_own(const qarn_elem &element) {
        const Key key = key_of(element);
        const std::vector<OwnPart> parts = senders_of_.parts_of(key, text_);
        if (parts.empty()) return add_of(Rule::kOwnText, key);
        for (const OwnPart &part : parts)
            add_part(Rule::kOwnText, part.size, key, part.sap);
    }

    // The line of a single VLAN, as in a checkpoint, is a text too.
    void add_vlan_text() {
        const std::string before = call_->printing.id == kVlanConfiguration ? "vlan configuration " : "vlan ";
        if (const auto vlan = vlan_of_line(before)) {
            open_vlans();
            single_vlan_ = vlan;
            return;
        }
        const std::string name = before + std::to_string(single_vlan_.value_or(call_->vlan)) + '\n';
        const std::vector<KeyString> texts = contributions_.for_vlan(name);
        std::size_t sum = 0;
        for (const KeyString &one : texts)
            sum += one.text->len;
        if (sum != text_.size()) return add(Rule::kVlanText);
        for (const KeyString &one : texts) {
            const Key key = key_of(*one.element);
            add_part(Rule::kVlanText, one.text->len, key, senders_of_.of_key_string(key, name));
        }
    }

    std::optional<int32_t> vlan_of_line(std::string_view before) const {
        if (!text_.starts_with(before)) return {};
        int32_t vlan = 0;
        const char *end = text_.data() + text_.size();
        const auto [after, error] = std::from_chars(text_.data() + before.size(), end, vlan);
        return error == std::errc() && after + 1 == end && *after == '\n' ? std::optional(vlan) : std::nullopt;
    }

    bool is_of_switch_profile() const { return switch_.switch_profile && switch_.switch_profile->head_text == text_; }

    const Observation &observation_;
    const sim::Switch &switch_;
    std::unordered_map<std::string_view, uint32_t> interfaces_; // index by name
    const Contributions contributions_;
    const Senders &senders_of_;
    std::vector<Piece> pieces_;
    Interned<std::vector<uint32_t>> senders_;
    Interned<std::string> contexts_;

    const Printed *call_ = nullptr; // that is being attributed, with its text
    std::string_view text_;
    uint32_t context_ = 0;
    const std::vector<InterfaceValue> *values_ = nullptr; // of the interface whose block it is
    std::optional<uint32_t> if_index_, opened_before_;    // of `values_`, and of the interface whose line came before
    std::size_t next_command_ = 0;
    std::optional<int32_t> single_vlan_; // whose line was a text
};

} // namespace

const char *name_of(Rule rule) {
    constexpr const char *kNames[] = {
        "message",        "header",         "separator",         "own text",           "converted text",
        "interface line", "interface text", "interface command", "port-profile merge", "key header",
        "key string",     "VLAN line",      "VLAN text",         "switch profile",     "saved text"};
    static_assert(std::size(kNames) == static_cast<std::size_t>(kLastRule) + 1);
    return kNames[static_cast<std::size_t>(rule)];
}

Origins find_origins(const Subject &subject) {
    return Attribution(subject).run();
}

} // namespace explain
