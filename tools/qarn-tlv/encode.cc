#include "tools/qarn-tlv/encode.h"

#include <functional>
#include <optional>
#include <utility>

#include "sim/tlv.h"
#include "tools/qarn-tlv/notation.h"

namespace tlv {
namespace {

using sim::Error;
using sim::Mapping;
using YAML::Node;

constexpr std::size_t kMebibyte = 1 << 20, kLargestReply = 1024 * kMebibyte;

// Appends entries to a reply.
class Composer {
  public:
    Composer(const sim::Document &document, std::optional<uint32_t> uuid, service::Encoder &encoder)
        : document_(document), uuid_(uuid), encoder_(encoder) {}

    void add_entry(const Node &node) {
        const Mapping entry(document_, node, "an element",
                            {"uuid", "id", "level", "properties", "values", "after", "only_if", "dependencies", "text",
                             "interfaces", "keys", "key_strings", "debug", "raw"});
        for (const char *key : {"uuid", "id", "level", "properties", "values"})
            if (entry.has(key)) {
                open_element(entry);
                break;
            }
        check_size(encoder_.size(), node);
        document_.each_pair(node, "an element", [&](const Node &key, const Node &value) {
            add_part(key.Scalar(), value);
            check_size(encoder_.size(), value);
        });
    }

    // An alias repeats what a file has once, so a small file can make a large reply.
    void check_size(std::size_t size, const Node &node) const {
        if (size > kLargestReply)
            document_.fail(node, Error::kOutOfRange,
                           "the reply is larger than " + std::to_string(kLargestReply / kMebibyte) + " MiB");
    }

  private:
    void open_element(const Mapping &entry) {
        const uint32_t id = entry.number("id", 0, UINT32_MAX), level = entry.number("level", 0, UINT32_MAX);
        const bool has_uuid = entry.has("uuid") || !uuid_;
        const uint32_t uuid = has_uuid ? entry.number("uuid", 0, UINT32_MAX) : *uuid_;
        encoder_.element({uuid, id, level, read_properties(entry["properties"]), read_values(entry)});
    }

    uint32_t read_properties(const Node &node) const {
        uint32_t property = 0;
        document_.each_item(node, "properties", [&](const Node &item) {
            const std::string word = document_.text(item, "a property");
            const auto bits = sim::to_number(word);
            property |= bits ? *bits : document_.row_named(item, "property", kPropertyWords).bit;
        });
        return property;
    }

    uint32_t read_values(const Mapping &entry) const {
        const std::string kind = entry.text("values", "text");
        if (kind == "text") return QARN_VAL_TEXT;
        if (kind == "command") return QARN_VAL_COMMAND;
        const auto number = sim::to_number(kind);
        if (!number)
            document_.fail(entry["values"], Error::kWrongValue,
                           "values must be text, command or a number, not " + sim::quoted(kind));
        return *number;
    }

    void add_part(const std::string &key, const Node &value) {
        if (key == "text") return add_texts(value);
        if (key == "interfaces") return add_interfaces(value);
        if (key == "debug") return void(encoder_.command(read_command(value)));
        using Add = void (Composer::*)(const Node &);
        constexpr std::pair<const char *, Add> kLists[] = {
            {"after", &Composer::add_order}, {"only_if", &Composer::add_condition},
            {"keys", &Composer::add_key},    {"dependencies", &Composer::add_dependency},
            {"raw", &Composer::add_raw},     {"key_strings", &Composer::add_key_string},
        };
        for (const auto &[name, add] : kLists)
            if (key == name) each(value, key, [this, add = add](const Node &item) { (this->*add)(item); });
    }

    void each(const Node &node, const std::string &what, const std::function<void(const Node &)> &add) {
        document_.each_item(node, what, [&](const Node &item) {
            add(item);
            check_size(encoder_.size(), item);
        });
    }

    void add_texts(const Node &node) {
        const auto add = [this](const Node &item) { encoder_.text(read_text(document_, item, "text")); };
        node.IsSequence() ? each(node, "text", add) : add(node);
    }

    void add_interfaces(const Node &node) {
        document_.each_pair(node, "interfaces", [&](const Node &key, const Node &value) {
            const uint32_t index = document_.number(key, "an interface index", 0, UINT32_MAX);
            const bool is_command = value.IsMap() && !value["hex"].IsDefined();
            if (is_command)
                encoder_.intf_command(index, read_command(value));
            else
                encoder_.intf_text(index, read_text(document_, value, "the text of an interface"));
            check_size(encoder_.size(), value);
        });
    }

    Bytes read_command(const Node &node) const {
        const Mapping form(document_, node, "a command message", {"command", "message"});
        if (form.has("message")) return read_bytes(document_, form["message"], "message");
        return sim::command_message(read_text(document_, form.require("command"), "command"));
    }

    void add_dependency_of(const Node &node, std::size_t size, std::optional<uint32_t> type) {
        if (!node.IsSequence() || node.size() != size)
            document_.fail(node, Error::kWrongType,
                           type ? "a dependency must be [UUID, ID]" : "a dependency must be [UUID, ID, KIND]");
        const auto word = [&](std::size_t at) { return document_.number(node[at], "a dependency", 0, UINT32_MAX); };
        encoder_.after(word(0), word(1), type ? *type : word(2));
    }
    void add_order(const Node &node) { add_dependency_of(node, 2, QARN_DEP_ORDER); }
    void add_condition(const Node &node) { add_dependency_of(node, 2, QARN_DEP_CONDITIONAL); }
    void add_dependency(const Node &node) { add_dependency_of(node, 3, {}); }

    void add_key(const Node &node) {
        const Mapping key(document_, node, "a key", {"name", "header", "index"});
        const Bytes header = key.has("header") ? read_text(document_, key["header"], "header") : Bytes();
        encoder_.key(key.number("index", 0, UINT32_MAX, 0), header, read_text(document_, key.require("name"), "name"));
    }

    void add_key_string(const Node &node) {
        const Mapping text(document_, node, "a key string", {"name", "text"});
        encoder_.key_string(read_text(document_, text.require("name"), "name"),
                            read_text(document_, text.require("text"), "text"));
    }

    void add_raw(const Node &node) {
        const Mapping raw(document_, node, "an entry of raw", {"bytes", "tag", "value", "length", "padding"});
        const auto bytes_of = [&](const char *key) { return read_bytes(document_, raw.require(key), key); };
        if (raw.has("bytes")) {
            for (const char *key : {"tag", "value", "length", "padding"})
                if (raw.has(key)) document_.fail(raw[key], Error::kConflict, "bytes cannot have a " + std::string(key));
            encoder_.bytes(bytes_of("bytes"));
            return;
        }
        const uint32_t tag = raw.number("tag", 0, UINT32_MAX);
        const Bytes value = bytes_of("value");
        const uint32_t length = raw.number("length", 0, UINT32_MAX, static_cast<uint32_t>(value.size()));
        if (raw.has("padding"))
            encoder_.unpadded(tag, length, value + bytes_of("padding"));
        else
            encoder_.lie(tag, length, value);
    }

    const sim::Document &document_;
    const std::optional<uint32_t> uuid_;
    service::Encoder &encoder_;
};

std::optional<uint32_t> number_of(const Mapping &reply, const char *key) {
    if (!reply.has(key)) return {};
    return reply.number(key, 0, UINT32_MAX);
}

} // namespace

service::Bytes encode(const std::string &name, const std::string &yaml) {
    const sim::Document document(name, yaml);
    const Mapping reply(document, document.root(), "the reply",
                        {"bytes", "status", "announced", "size", "uuid", "elements", "trailing"});
    if (reply.has("bytes")) {
        if (document.root().size() != 1)
            document.fail(reply["bytes"], Error::kConflict, "a reply of bytes has no other keys");
        return read_bytes(document, reply["bytes"], "bytes");
    }
    service::Encoder encoder;
    Composer composer(document, number_of(reply, "uuid"), encoder);
    document.each_item(reply["elements"], "elements", [&](const Node &node) { composer.add_entry(node); });
    if (const auto count = number_of(reply, "announced")) encoder.announce_count(*count);
    if (const auto size = number_of(reply, "size")) encoder.announce_size(*size);
    Bytes bytes = encoder.reply(number_of(reply, "status").value_or(0));
    if (!reply.has("trailing")) return bytes;
    bytes += read_bytes(document, reply["trailing"], "trailing");
    composer.check_size(bytes.size(), reply["trailing"]);
    return bytes;
}

} // namespace tlv
