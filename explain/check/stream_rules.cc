// The check reads a reply as everything else of this room does, and keeps what each element has sent so far: an element
// may come back later in the stream. What only the whole element shows is decided at the end.
#include "explain/check/stream_rules.h"

#include <qarncli/element.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

#include "sim/check/report.h"

namespace explain {
namespace {

constexpr uint32_t kLastLevel = 12, kLastNumber = UINT16_MAX, kLastVlan = 4095;
constexpr uint32_t kVlans = 2, kVlanConfigurations = 5; // elements of the service with QARN_UUID_VLAN
constexpr uint32_t kProperties = QARN_PROP_VSAN | QARN_PROP_VLAN | QARN_PROP_INTF | QARN_PROP_CONDITIONAL |
                                 QARN_PROP_BFD | QARN_PROP_L2MP | QARN_PROP_FEX;

enum Name : uint8_t {
    kBadCommand,
    kConditionWithoutProperty,
    kConditionalWithoutCondition,
    kInterfaceRepeated,
    kInterfaceWithoutProperty,
    kKeyRepeated,
    kKeyStringRepeated,
    kKeyStringUnread,
    kKeyWithoutNewline,
    kLevel,
    kLevelDiffers,
    kMalformed,
    kNoFinalNewline,
    kNumberOutOfRange,
    kSpacesOnly,
    kStatus,
    kUnknownDependency,
    kUnknownProperty,
    kUnknownValues,
    kVlanOutOfRange,
    kWaitsForItself
};

constexpr CheckRule kRules[] = {
    {"bad-command", "a command message has a wrong stamp or length"},
    {"condition-without-property", "an element has a condition, but not the property that makes it count"},
    {"conditional-without-condition", "an element is conditional and has no condition, so it is never printed"},
    {"interface-repeated", "an element has two values for one interface; the last one counts"},
    {"interface-without-property", "an element has values for interfaces, but not the property that prints them"},
    {"key-repeated", "an element has two keys with one name; the last one counts"},
    {"key-string-repeated", "an element files two texts under one name; the last one counts"},
    {"key-string-unread", "a text is filed under a name that no key has"},
    {"key-without-newline",
     "the line of a key has no newline at its end, so the next text is printed in the same line"},
    {"level", "an element has a level above 12, which no display prints"},
    {"level-differs", "an element comes again with another level; the first one counts"},
    {"malformed", "a part of the reply cannot be read, or not as it should be"},
    {"no-final-newline", "a text has no newline at its end"},
    {"number-out-of-range", "a UUID or id does not fit the 16 bits that identify elements, or a UUID is 0"},
    {"spaces-only", "a text has nothing but white space"},
    {"status", "the reply has a failure status, so nothing else of it is read"},
    {"unknown-dependency", "a dependency is neither an order nor a condition"},
    {"unknown-property", "an element has a property that is unknown, or that of the library's placeholders"},
    {"unknown-values", "the values of an element for interfaces are neither texts nor command messages"},
    {"vlan-out-of-range", "a VLAN is above 4095"},
    {"waits-for-itself", "an element depends on itself"},
};
static_assert(std::size(kRules) == kWaitsForItself + 1);

bool lists_vlans(Key element) {
    return element.uuid == QARN_UUID_VLAN && (element.id == kVlans || element.id == kVlanConfigurations);
}

std::string hexadecimal(uint32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", number);
    return text;
}

// Reads the names only.
class KeyNamesSink : public StreamSink {
  public:
    explicit KeyNamesSink(KeyNames &names) : names_(names) {}

    void element(const StreamElement &element) override { element_ = key_of(element.uuid, element.id); }
    void item(const Item &item) override {
        if (item.kind != Item::Kind::kKey || item.is_stray) return;
        if (lists_vlans(element_)) {
            const std::string head = element_.id == kVlans ? "vlan " : "vlan configuration ";
            names_.insert(head + std::to_string(item.index) + "\n");
        } else {
            names_.emplace(item.name);
        }
    }

  private:
    KeyNames &names_;
    Key element_;
};

class StreamCheck : public StreamSink {
  public:
    StreamCheck(std::string service, const KeyNames &key_names) : service_(std::move(service)), key_names_(key_names) {}

    void element(const StreamElement &element) override {
        const Key key = key_of(element.uuid, element.id);
        element_ = key;
        at_ = element.at;
        check_words(element);
        const auto [found, is_new] = elements_.try_emplace(key, State{.first = element});
        state_ = &found->second;
        const uint32_t first = state_->first.level;
        if (!is_new && first != element.level)
            find(kLevelDiffers,
                 "level " + std::to_string(element.level) + ", and before level " + std::to_string(first));
    }

    void item(const Item &item) override {
        if (item.is_stray) return; // a fault says so
        at_ = item.at;
        take(item);
    }

    void fault(Fault fault) override {
        at_ = fault.at;
        if (fault.is_stray) element_.reset();
        find(kMalformed, std::move(fault.what));
    }

    void note_status(uint32_t status) {
        if (status != 0) find(kStatus, "status " + std::to_string(status) + " (" + hexadecimal(status) + ")");
    }

    std::vector<Finding> finish() {
        for (const auto &[key, state] : elements_)
            check_whole(key, state);
        std::ranges::stable_sort(findings_, {}, &Finding::at);
        return std::move(findings_);
    }

  private:
    struct State {
        StreamElement first;
        bool has_condition = false, has_interface_fault = false;
        std::size_t own_text_at = 0;
        std::string own_text = {};
        std::set<uint32_t> interfaces = {};
        std::set<std::string, std::less<>> keys = {}, key_strings = {};
    };

    void find(Name rule, std::string text) {
        findings_.push_back({&kRules[rule], service_, element_, at_, std::move(text)});
    }

    void check_words(const StreamElement &element) {
        if (element.uuid == 0 || element.uuid > kLastNumber)
            find(kNumberOutOfRange, "UUID " + std::to_string(element.uuid));
        if (element.id > kLastNumber) find(kNumberOutOfRange, "id " + std::to_string(element.id));
        if (element.level > kLastLevel) find(kLevel, "level " + std::to_string(element.level));
        const uint32_t unknown = element.property & ~kProperties;
        if (unknown != 0) find(kUnknownProperty, "properties " + hexadecimal(unknown));
        if (element.val_type > QARN_VAL_COMMAND) find(kUnknownValues, "values " + std::to_string(element.val_type));
    }

    void take(const Item &item) {
        switch (item.kind) {
            case Item::Kind::kAfter:
            case Item::Kind::kOnlyIf:
            case Item::Kind::kOtherDependency:
                return take_dependency(item);
            case Item::Kind::kText:
                state_->own_text += item.text;
                state_->own_text_at = item.at;
                return;
            case Item::Kind::kInterfaceText:
            case Item::Kind::kInterfaceCommand:
                return take_interface_value(item);
            case Item::Kind::kCommand:
                return check_command(item.text);
            case Item::Kind::kKeyString:
                return take_key_string(item);
            case Item::Kind::kKey:
                return take_key(item);
            case Item::Kind::kUnknown:
                return; // a fault says so
        }
    }

    void take_dependency(const Item &item) {
        if (key_of(item.uuid, item.id) == element_) find(kWaitsForItself, "it depends on itself");
        if (item.kind == Item::Kind::kOtherDependency)
            find(kUnknownDependency, "a dependency of kind " + std::to_string(item.index));
        if (item.kind != Item::Kind::kOnlyIf) return;
        if (!state_->has_condition && (state_->first.property & QARN_PROP_CONDITIONAL) == 0)
            find(kConditionWithoutProperty, "it has a condition, but not the property conditional");
        state_->has_condition = true;
    }

    void take_interface_value(const Item &item) {
        if (!std::exchange(state_->has_interface_fault, true) && (state_->first.property & QARN_PROP_INTF) == 0)
            find(kInterfaceWithoutProperty, "it has values for interfaces, but not the property interface");
        const std::string interface = "interface " + hexadecimal(item.index);
        if (!state_->interfaces.insert(item.index).second) find(kInterfaceRepeated, interface + " already has a value");
        if (item.kind == Item::Kind::kInterfaceCommand) return check_command(item.text);
        check_text(item.text, "the text for " + interface);
    }

    void take_key_string(const Item &item) {
        const std::string name = sim::shown(item.name);
        if (!state_->key_strings.emplace(item.name).second)
            find(kKeyStringRepeated, "a text is already filed under " + name);
        if (!key_names_.contains(item.name)) find(kKeyStringUnread, "no key has the name " + name);
        check_text(item.text, "the text filed under " + name);
    }

    void take_key(const Item &item) {
        const std::string name = sim::shown(item.name);
        if (!state_->keys.emplace(item.name).second) find(kKeyRepeated, "it already has a key " + name);
        if (lists_vlans(*element_)) {
            if (item.index > kLastVlan) find(kVlanOutOfRange, "VLAN " + std::to_string(item.index));
            return;
        }
        const std::string_view line = item.text.empty() ? item.name : item.text;
        if (!line.ends_with('\n')) find(kKeyWithoutNewline, "the line " + sim::shown(line) + " has no newline");
    }

    void check_text(std::string_view text, const std::string &what) {
        if (text.empty()) return;
        if (!text.ends_with('\n')) find(kNoFinalNewline, what + " has no newline at its end");
        if (text.find_first_not_of(" \t\r\n") == std::string_view::npos)
            find(kSpacesOnly, what + " has nothing but white space");
    }

    void check_command(std::string_view message) {
        uint32_t length = 0, stamp = 0;
        if (message.size() >= QARN_CMD_HEADER_SIZE) {
            std::memcpy(&length, message.data() + QARN_CMD_LENGTH_AT, sizeof length);
            std::memcpy(&stamp, message.data() + QARN_CMD_STAMP_AT, sizeof stamp);
        }
        if (length < QARN_CMD_HEADER_SIZE || length > message.size())
            find(kBadCommand, "a command message has the length " + std::to_string(length) + ", and its TLV " +
                                  std::to_string(message.size()) + " bytes");
        else if (stamp != QARN_CMD_STAMP && stamp != QARN_CMD_STAMP_SWAPPED)
            find(kBadCommand, "a command message has the stamp " + hexadecimal(stamp));
    }

    void check_whole(Key key, const State &state) {
        element_ = key;
        at_ = state.first.at;
        if ((state.first.property & QARN_PROP_CONDITIONAL) != 0 && !state.has_condition)
            find(kConditionalWithoutCondition, "it is conditional and has no condition");
        at_ = state.own_text_at;
        check_text(state.own_text, "its own text");
    }

    const std::string service_;
    const KeyNames &key_names_;
    std::map<Key, State> elements_;
    State *state_ = nullptr; // of the last element
    std::optional<Key> element_;
    std::size_t at_ = 0;
    std::vector<Finding> findings_;
};

} // namespace

std::span<const CheckRule> stream_rules() {
    return kRules;
}

KeyNames key_names_of(std::string_view reply) {
    KeyNames names;
    KeyNamesSink sink(names);
    read_stream(reply, sink);
    return names;
}

std::vector<Finding> check_stream(std::string_view reply, const std::string &service, const KeyNames *key_names) {
    const KeyNames own_names = key_names != nullptr ? KeyNames() : key_names_of(reply);
    StreamCheck check(service, key_names != nullptr ? *key_names : own_names);
    check.note_status(read_stream(reply, check).status);
    return check.finish();
}

} // namespace explain
