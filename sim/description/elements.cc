// The elements of a service in a switch description. In a text for several interfaces or ids, "{n}" is replaced by the
// number of each interface or id.
#include "sim/description/elements.h"

#include <set>
#include <utility>

#include "sim/notation.h"

namespace sim {
namespace {

constexpr uint32_t kLastLevel = 12, kLastKeyId = 4095, kMostWords = 100;
constexpr uint32_t kConversionSpecification = 1; // element of the service with QARN_UUID_CONVERSION

struct PropertyWord {
    const char *word;
    uint32_t bit; // 0: the bit of the view that the command requests
};
constexpr PropertyWord kPropertyWords[] = {
    {"vsan", QARN_PROP_VSAN}, {"vlan", QARN_PROP_VLAN}, {"interface", QARN_PROP_INTF},
    {"bfd", QARN_PROP_BFD},   {"l2mp", QARN_PROP_L2MP}, {"fex", QARN_PROP_FEX},
    {"every-view", 0},
};

std::string with_number(std::string text, std::string_view number) {
    constexpr std::string_view kMark = "{n}";
    for (std::size_t at = text.find(kMark); at != std::string::npos; at = text.find(kMark, at + number.size()))
        text.replace(at, kMark.size(), number);
    return text;
}

// Reads the parts of one element.
class ElementReader {
  public:
    ElementReader(const Document &document, uint32_t uuid, Element &element)
        : document_(document), uuid_(uuid), element_(element) {}

    void read_properties(const YAML::Node &node) {
        const bool is_whole = document_.each_item(node, "properties", [&](const YAML::Node &item) {
            const PropertyWord &property = document_.row_named(item, "property", kPropertyWords);
            element_.property |= property.bit;
            element_.every_view = element_.every_view || property.bit == 0;
        });
        if (!is_whole) throw FollowUp(); // the next parts need the properties
    }

    void read_values(const Mapping &entry) {
        const std::string kind = entry.text("values", "text");
        if (kind != "text" && kind != "command")
            document_.fail(entry["values"], Error::kWrongValue, "values must be text or command, not " + quoted(kind));
        element_.val_type = kind == "command" ? QARN_VAL_COMMAND : QARN_VAL_TEXT;
    }

    void read_secret(const Mapping &entry) {
        if (!entry.has("secret")) return;
        const uint32_t words = entry.number("secret", 0, kMostWords);
        if (uuid_ == QARN_UUID_CONVERSION && element_.id == kConversionSpecification)
            document_.fail(entry["secret"], Error::kConflict, "the rules of the display conversion cannot be secret");
        element_.secret = words;
    }

    void read_interface_texts(const YAML::Node &node, const Interfaces &interfaces) {
        if (node.IsDefined() && (element_.property & QARN_PROP_INTF) == 0)
            document_.fail(node, Error::kConflict, "an element with interfaces needs the property interface");
        std::set<uint32_t> seen;
        document_.each_pair(node, "interfaces", [&](const YAML::Node &names, const YAML::Node &value) {
            std::string lines = as_block(document_.text(value, "the text of " + names.Scalar()));
            // The renderer of commands ends the line itself.
            if (element_.val_type == QARN_VAL_COMMAND && !lines.empty()) lines.pop_back();
            for (const std::string &name : document_.names(names, "interfaces")) {
                const uint32_t if_index = interfaces.index_of(names, name);
                if (!seen.insert(if_index).second)
                    document_.fail(names, Error::kDuplicate, "interface " + quoted(name) + " already has a text");
                const std::string_view number = std::string_view(name).substr(start_of_number(name, name.size()));
                element_.intf_texts.emplace_back(if_index, with_number(lines, number));
            }
        });
    }

    void read_keys(const YAML::Node &node) {
        document_.each_item(node, "keys", [&](const YAML::Node &item) {
            const Mapping entry(document_, item, "a key", {"name", "ids", "header"});
            const std::string name = entry.text("name"), header = entry.text("header", "");
            if (!entry.has("ids")) {
                element_.keys.push_back({0, header, name, line_of(item)});
                return;
            }
            for (const uint32_t id : document_.ids(entry["ids"], "key id", 0, kLastKeyId)) {
                const std::string number = std::to_string(id);
                element_.keys.push_back({id, with_number(header, number), with_number(name, number), line_of(item)});
            }
        });
    }

    void read_key_strings(const YAML::Node &node) {
        std::set<std::string> seen;
        const auto add = [&](const YAML::Node &item, const std::string &name, const std::string &lines) {
            if (!seen.insert(name).second)
                document_.fail(item, Error::kDuplicate, "key string " + quoted(name) + " already has a text");
            element_.key_strings.emplace_back(name, lines, line_of(item));
        };
        document_.each_item(node, "key_strings", [&](const YAML::Node &item) {
            const Mapping entry(document_, item, "a key string", {"name", "ids", "text"});
            const std::string name = entry.text("name"), lines = as_block(entry.text("text"));
            if (!entry.has("ids")) return add(item, name, lines);
            for (const uint32_t id : document_.ids(entry["ids"], "key id", 0, kLastKeyId)) {
                const std::string number = std::to_string(id);
                add(item, with_number(name, number), with_number(lines, number));
            }
        });
    }

    void read_dependencies(const YAML::Node &node, const std::string &what, uint32_t type,
                           const ServiceNames &services) {
        document_.each_item(node, what, [&](const YAML::Node &item) {
            const auto [uuid, id] = element_reference(document_, item, what, services);
            if (type == QARN_DEP_ORDER && uuid == uuid_ && id == element_.id)
                document_.fail(item, Error::kWaitsForItself, "element " + std::to_string(id) + " waits for itself");
            element_.dependencies.push_back({uuid, id, type, line_of(item)});
        });
    }

  private:
    const Document &document_;
    const uint32_t uuid_;
    Element &element_;
};

} // namespace

void read_element(const Document &document, const YAML::Node &node, Service &service, std::unordered_set<uint32_t> &ids,
                  const ElementContext &context) {
    const Mapping entry(document, node, "an element",
                        {"id", "level", "properties", "port_profile", "values", "text", "interfaces", "keys",
                         "key_strings", "after", "only_if", "secret"});
    const uint32_t id = entry.number("id", 0, UINT16_MAX);
    const uint32_t level = entry.number("level", 0, kLastLevel);
    if (!ids.insert(id).second)
        document.fail(entry["id"], Error::kDuplicate,
                      "element " + std::to_string(id) + " of " + service.name + " is listed twice");
    Element &element = service.element(id, level);
    element.line = line_of(node);
    ElementReader reader(document, service.uuid, element);
    reader.read_properties(entry["properties"]);
    reader.read_values(entry);
    if (entry.has("only_if")) element.property |= QARN_PROP_CONDITIONAL;
    document.attempt([&] {
        if (entry.has("port_profile")) element.port_profile = context.profiles.named(document, entry["port_profile"]);
    });
    document.attempt([&] { reader.read_secret(entry); });
    document.attempt([&] { element.text = entry.text("text", ""); });
    document.attempt([&] { reader.read_interface_texts(entry["interfaces"], context.interfaces); });
    document.attempt([&] { reader.read_keys(entry["keys"]); });
    document.attempt([&] { reader.read_key_strings(entry["key_strings"]); });
    document.attempt([&] { reader.read_dependencies(entry["after"], "after", QARN_DEP_ORDER, context.services); });
    document.attempt(
        [&] { reader.read_dependencies(entry["only_if"], "only_if", QARN_DEP_CONDITIONAL, context.services); });
}

} // namespace sim
