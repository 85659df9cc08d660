// The reader of this repository's explanations says what is in a reply. What it says is written in words if the encoder
// makes the same bytes of it; any other byte is written as it is. Nothing is lost in this way, whatever a reply holds.
#include "tools/qarn-tlv/decode.h"

#include <qarncli/element.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>
#include <vector>

#include "explain/stream.h"
#include "sim/tlv.h"
#include "tools/qarn-tlv/notation.h"

namespace tlv {
namespace {

using explain::Item;
using explain::StreamElement;
using service::Encoder;

constexpr std::size_t kCountAt = 4, kSizeAt = 8, kTlvsAt = 12;

uint32_t word_at(std::string_view bytes, std::size_t at) {
    uint32_t word = 0;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

// A value below a key of an entry.
struct Value {
    std::string name = {}; // of a mapping
    std::string yaml = {};
    bool is_text = false; // `yaml` is a text instead
};

// Values of one kind.
struct Part {
    enum class Form : uint8_t {
        kValue,  // one only
        kTexts,  // one, or a list
        kInLine, // a list in one line
        kList,   // a list with a line for each
        kMapping // with unique names
    };
    const char *key;
    Form form;
    std::vector<Value> values;

    bool can_take(const Value &value) const {
        if (form == Form::kMapping) return std::ranges::find(values, value.name, &Value::name) == values.end();
        return form != Form::kValue;
    }
};

// An element, or what follows it and cannot be written in the same mapping.
struct Entry {
    std::optional<StreamElement> head;
    std::vector<Part> parts;
};

std::string pair(uint32_t uuid, uint32_t id) {
    return std::to_string(uuid) + ", " + std::to_string(id);
}

std::string properties_in_line(uint32_t property) {
    std::string words;
    const auto add = [&](const std::string &word) { words += (words.empty() ? "" : ", ") + word; };
    for (const PropertyWord &row : kPropertyWords) {
        if ((property & row.bit) == 0) continue;
        add(row.word);
        property &= ~row.bit;
    }
    if (property != 0) add(hexadecimal(property));
    return "[" + words + "]";
}

std::string command_in_line(std::string_view message) {
    const std::string_view line = message.substr(std::min<std::size_t>(QARN_CMD_HEADER_SIZE, message.size()));
    const std::string_view text = line.substr(0, line.find('\0'));
    if (sim::command_message(text) == message) return "{command: " + text_in_line(text) + "}";
    return "{message: " + bytes_in_line(message) + "}";
}

// Collects the entries of a reply.
class Entries : public explain::StreamSink {
  public:
    explicit Entries(std::string_view body) : reply_(body) {}

    void element(const StreamElement &element) override {
        take_bytes_before(element.at);
        entries_.emplace_back();
        Encoder encoder;
        encoder.element({element.uuid, element.id, element.level, element.property, element.val_type});
        if (cover(encoder)) entries_.back().head = element;
    }

    void item(const Item &item) override {
        take_bytes_before(item.at);
        switch (item.kind) {
            case Item::Kind::kAfter:
            case Item::Kind::kOnlyIf:
            case Item::Kind::kOtherDependency:
                return take_dependency(item);
            case Item::Kind::kText:
                if (cover(Encoder().text(item.text))) add("text", Part::Form::kTexts, text(item.text));
                return;
            case Item::Kind::kInterfaceText:
            case Item::Kind::kInterfaceCommand:
                return take_interface_value(item);
            case Item::Kind::kCommand:
                if (cover(Encoder().command(item.text)))
                    add("debug", Part::Form::kValue, {.yaml = command_in_line(item.text)});
                return;
            case Item::Kind::kKeyString:
                return take_key_string(item);
            case Item::Kind::kKey:
                return take_key(item);
            case Item::Kind::kUnknown:
                return; // is taken as bytes
        }
    }

    std::vector<Entry> finish() {
        take_bytes_before(reply_.size());
        return std::move(entries_);
    }
    uint32_t count() const { return count_; } // of TLVs

  private:
    // Whether the next bytes are those that the encoder makes.
    bool cover(const Encoder &encoder) {
        const Bytes made = encoder.array().substr(kTlvsAt - kCountAt);
        if (!reply_.substr(next_).starts_with(made)) return false;
        next_ += made.size();
        count_ += encoder.count();
        return true;
    }

    void add(const char *key, Part::Form form, Value value) {
        if (entries_.empty()) entries_.emplace_back();
        std::vector<Part> *parts = &entries_.back().parts;
        if (!parts->empty() && std::strcmp(parts->back().key, key) == 0 && parts->back().can_take(value)) {
            parts->back().values.push_back(std::move(value));
            return;
        }
        const auto has_key = [key](const Part &part) { return std::strcmp(part.key, key) == 0; };
        if (std::ranges::any_of(*parts, has_key)) parts = &entries_.emplace_back().parts;
        parts->push_back({key, form, {std::move(value)}});
    }

    static Value text(std::string_view text) { return {.yaml = std::string(text), .is_text = true}; }

    void take_dependency(const Item &item) {
        if (!cover(Encoder().after(item.uuid, item.id, item.index))) return;
        const std::string element = "[" + pair(item.uuid, item.id);
        if (item.kind == Item::Kind::kOtherDependency)
            return add("dependencies", Part::Form::kInLine,
                       {.yaml = element + ", " + std::to_string(item.index) + "]"});
        add(item.kind == Item::Kind::kAfter ? "after" : "only_if", Part::Form::kInLine, {.yaml = element + "]"});
    }

    // Whether the value is a message or a text is taken from its own tag. The reader goes by the element's kind of
    // values, which may contradict it.
    void take_interface_value(const Item &item) {
        const std::string name = hexadecimal(item.index);
        const std::string_view value = value_of_tlv_at(next_ + service::kTlvHeaderSize + sizeof item.index);
        const std::string_view line = value.substr(0, value.find('\0'));
        if (cover(Encoder().intf_text(item.index, line)))
            add("interfaces", Part::Form::kMapping, {name, std::string(line), true});
        else if (cover(Encoder().intf_command(item.index, value)))
            add("interfaces", Part::Form::kMapping, {.name = name, .yaml = command_in_line(value)});
    }

    std::string_view value_of_tlv_at(std::size_t at) const {
        const std::size_t value_at = at + service::kTlvHeaderSize;
        if (value_at > reply_.size()) return {};
        return reply_.substr(value_at, word_at(reply_, value_at - sizeof(uint32_t)));
    }

    void take_key_string(const Item &item) {
        if (cover(Encoder().key_string(item.name, item.text)))
            add("key_strings", Part::Form::kList,
                {.yaml = "{name: " + text_in_line(item.name) + ", text: " + text_in_line(item.text) + "}"});
    }

    void take_key(const Item &item) {
        if (!cover(Encoder().key(item.index, item.text, item.name))) return;
        std::string yaml = "{name: " + text_in_line(item.name);
        if (!item.text.empty()) yaml += ", header: " + text_in_line(item.text);
        if (item.index != 0) yaml += ", index: " + std::to_string(item.index);
        add("keys", Part::Form::kList, {.yaml = yaml + "}"});
    }

    void take_bytes_before(std::size_t end) {
        while (next_ < end) {
            const std::string yaml = end - next_ < service::kTlvHeaderSize ? take_rest(end) : take_tlv(end);
            add("raw", Part::Form::kList, {.yaml = "{" + yaml + "}"});
        }
    }

    std::string take_rest(std::size_t end) {
        const std::string_view bytes = reply_.substr(next_, end - next_);
        next_ = end;
        return "bytes: " + bytes_in_line(bytes);
    }

    std::string take_tlv(std::size_t end) {
        const uint32_t tag = word_at(reply_, next_), length = word_at(reply_, next_ + sizeof tag);
        next_ += service::kTlvHeaderSize;
        const std::string_view rest = reply_.substr(next_, end - next_), value = rest.substr(0, length);
        std::string yaml = "tag: " + std::to_string(tag) + ", value: " + bytes_in_line(value);
        if (length > rest.size()) yaml += ", length: " + std::to_string(length);
        next_ += value.size();
        ++count_;
        const std::string padding((4 - next_ % 4) % 4, '\0');
        const std::string_view actual = rest.substr(value.size(), padding.size());
        if (actual != padding) yaml += ", padding: " + bytes_in_line(actual);
        next_ += actual.size();
        return yaml;
    }

    const std::string_view reply_; // without what follows the array
    std::size_t next_ = kTlvsAt;   // the first byte that is not taken yet
    uint32_t count_ = 0;
    std::vector<Entry> entries_;
};

// Writes entries with the indentation of a list below a key.
class Writer {
  public:
    explicit Writer(std::string &yaml) : yaml_(yaml) {}

    void write(const std::vector<Entry> &entries, std::optional<uint32_t> uuid) {
        for (const Entry &entry : entries) {
            lead_ = "  - ";
            if (entry.head) write_head(*entry.head, uuid);
            for (const Part &part : entry.parts)
                write_part(part);
        }
    }

  private:
    void write_line(const std::string &key, const std::string &value) {
        yaml_ += lead_ + key + ":" + (value.starts_with('\n') ? "" : " ") + value + "\n";
        lead_ = "    ";
    }

    void write_head(const StreamElement &head, std::optional<uint32_t> uuid) {
        if (head.uuid != uuid) write_line("uuid", std::to_string(head.uuid));
        write_line("id", std::to_string(head.id));
        write_line("level", std::to_string(head.level));
        if (head.property != 0) write_line("properties", properties_in_line(head.property));
        if (head.val_type == QARN_VAL_COMMAND) write_line("values", "command");
        if (head.val_type > QARN_VAL_COMMAND) write_line("values", std::to_string(head.val_type));
    }

    static std::string yaml_of(const Value &value, std::size_t indentation) {
        return value.is_text ? text_in_lines(value.yaml, indentation) : value.yaml;
    }

    void write_part(const Part &part) {
        const bool is_single = part.form == Part::Form::kValue || part.form == Part::Form::kTexts;
        if (is_single && part.values.size() == 1) return write_line(part.key, yaml_of(part.values[0], 6));
        std::string all;
        for (const Value &value : part.values) {
            if (part.form == Part::Form::kInLine) {
                all += (all.empty() ? "[" : ", ") + value.yaml;
                continue;
            }
            const std::string name = part.form == Part::Form::kMapping ? value.name + ": " : "- ";
            all.append("\n      ").append(name).append(yaml_of(value, 8));
        }
        write_line(part.key, all + (part.form == Part::Form::kInLine ? "]" : ""));
    }

    std::string &yaml_;
    std::string lead_;
};

// Where the array ends by its own size; none: it has no size, or one that leaves the reply.
std::optional<std::size_t> end_of_array(std::string_view reply) {
    const std::size_t end = kCountAt + word_at(reply, kSizeAt);
    if (end < kTlvsAt || end > reply.size()) return {};
    return end;
}

std::optional<uint32_t> first_uuid(const std::vector<Entry> &entries) {
    const auto first = std::ranges::find_if(entries, [](const Entry &entry) { return entry.head.has_value(); });
    if (first == entries.end()) return {};
    return first->head->uuid;
}

// Reads a reply as if its status were 0.
std::vector<Entry> read_entries(std::string_view body, uint32_t &count) {
    Bytes succeeded(body);
    std::memset(succeeded.data(), 0, kCountAt);
    Entries entries(succeeded);
    explain::read_stream(succeeded, entries);
    std::vector<Entry> all = entries.finish();
    count = entries.count();
    return all;
}

} // namespace

std::string decode(std::string_view reply) {
    if (reply.size() < kTlvsAt) return "bytes: " + bytes_in_line(reply) + "\n";
    const auto end = end_of_array(reply);
    const std::string_view body = reply.substr(0, end.value_or(reply.size()));
    uint32_t count = 0;
    const std::vector<Entry> entries = read_entries(body, count);
    std::string yaml;
    const auto write = [&yaml](const char *key, uint32_t number) { yaml += key + std::to_string(number) + "\n"; };
    const auto uuid = first_uuid(entries);
    if (word_at(reply, 0) != 0) write("status: ", word_at(reply, 0));
    if (word_at(reply, kCountAt) != count) write("announced: ", word_at(reply, kCountAt));
    if (!end) write("size: ", word_at(reply, kSizeAt));
    if (uuid) write("uuid: ", *uuid);
    yaml += entries.empty() ? "elements: []\n" : "elements:\n";
    Writer(yaml).write(entries, uuid);
    if (body.size() != reply.size()) yaml += "trailing: " + bytes_in_line(reply.substr(body.size())) + "\n";
    return yaml;
}

} // namespace tlv
