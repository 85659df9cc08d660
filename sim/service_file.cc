// The file of a service in the saved configuration: a header (magic, length, checksum) and a TLV array as the service
// would send it, with more tags for what depends on the request: views, port profiles, and what masking leaves of a
// secret element.
#include "sim/service_file.h"

#include <cstring>
#include <string_view>
#include <utility>

#include <qarncli/tlv_decode.h>

#include "platform/tlv_array.h"

namespace sim {
namespace {

enum : uint32_t { kTagEveryView = 0x100, kTagPortProfile = 0x101, kTagSecret = 0x102 };

struct FileHeader {
    char magic[8];
    uint32_t length, checksum; // of what follows
};
constexpr char kMagic[sizeof(FileHeader::magic) + 1] = "QARNSAV1";

uint32_t checksum_of(std::string_view bytes) {
    uint32_t sum = 2166136261u; // FNV-1a
    for (const char c : bytes)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619u;
    return sum;
}

void write_element(const Service &service, const Element &element, Tlv &tlv) {
    tlv.element({service.uuid, element.id, element.level, element.property, element.val_type});
    if (element.every_view) tlv.words(kTagEveryView, {1});
    if (!element.port_profile.empty()) tlv.raw(kTagPortProfile, element.port_profile + '\0');
    if (element.secret) tlv.words(kTagSecret, {*element.secret});
    for (const Dependency &dependency : element.dependencies)
        tlv.after(dependency.uuid, dependency.elem_id, dependency.type);
    if (!element.text.empty()) tlv.text(element.text);
    for (const auto &[if_index, text] : element.intf_texts)
        tlv.intf_text(if_index, text);
    for (const KeyString &filed : element.key_strings)
        tlv.key_string(filed.name, filed.text);
    for (const Key &key : element.keys)
        tlv.key(key.index, key.map, key.name);
}

// The array in a file; throws DamagedFile unless the lengths and the checksum are right.
Bytes checked_array(const Bytes &contents) {
    constexpr std::size_t kArrayHeader = 8;
    FileHeader header;
    if (contents.size() < sizeof header + kArrayHeader) throw DamagedFile();
    std::memcpy(&header, contents.data(), sizeof header);
    Bytes array = contents.substr(sizeof header);
    uint32_t array_size = 0;
    std::memcpy(&array_size, array.data() + 4, sizeof array_size);
    if (std::memcmp(header.magic, kMagic, sizeof header.magic) != 0 || header.length != array.size() ||
        header.checksum != checksum_of(array) || array_size != array.size())
        throw DamagedFile();
    return array;
}

class ArrayReader {
  public:
    explicit ArrayReader(const Bytes &array) : array_(array) {}

    bool next() {
        void *value = nullptr;
        uint32_t length = 0;
        if (tlv32_aligned_array_get_next_tlv(array_.data(), &tag_, &length, &value, 0, &cursor_) != 0) return false;
        value_ = std::string_view(static_cast<const char *>(value), length);
        return true;
    }
    uint32_t tag() const { return tag_; }
    uint32_t word(std::size_t i) const {
        uint32_t word = 0;
        if (value_.size() < (i + 1) * sizeof word) throw DamagedFile();
        std::memcpy(&word, value_.data() + i * sizeof word, sizeof word);
        return word;
    }
    std::string text() const {
        if (value_.empty() || value_.back() != '\0') throw DamagedFile();
        return std::string(value_.substr(0, value_.size() - 1));
    }
    std::string next_text() {
        if (!next() || tag_ != QARN_TLV_TAG_STR) throw DamagedFile();
        return text();
    }

  private:
    const Bytes &array_;
    uint32_t cursor_ = 0, tag_ = 0;
    std::string_view value_;
};

Element element_info(const ArrayReader &reader) {
    Element element;
    element.id = reader.word(1);
    element.level = reader.word(2);
    element.property = reader.word(3);
    element.val_type = reader.word(4);
    return element;
}

std::pair<uint32_t, std::string> intf_text_in(ArrayReader &reader) {
    const uint32_t if_index = reader.word(0);
    return {if_index, reader.next_text()};
}

KeyString key_string_in(ArrayReader &reader) {
    std::string name = reader.text();
    return {std::move(name), reader.next_text()};
}

Key key_in(ArrayReader &reader) {
    Key key{reader.word(0), reader.next_text(), {}};
    key.name = reader.next_text();
    return key;
}

// Add what the reader's current TLV holds.
void add_to(Element &element, ArrayReader &reader) {
    switch (reader.tag()) {
        case kTagEveryView:
            element.every_view = true;
            break;
        case kTagPortProfile:
            element.port_profile = reader.text();
            break;
        case kTagSecret:
            element.secret = reader.word(0);
            break;
        case QARN_TLV_TAG_DEPENDENCY:
            element.dependencies.push_back({reader.word(0), reader.word(1), reader.word(2)});
            break;
        case QARN_TLV_TAG_STR:
            element.text = reader.text();
            break;
        case QARN_TLV_TAG_IFINDEX_STR:
            element.intf_texts.push_back(intf_text_in(reader));
            break;
        case QARN_TLV_TAG_KEY_STR:
            element.key_strings.push_back(key_string_in(reader));
            break;
        case QARN_TLV_TAG_KEY:
            element.keys.push_back(key_in(reader));
            break;
        default:
            throw DamagedFile();
    }
}

} // namespace

Bytes contents_of(const Service &service) {
    Tlv tlv;
    for (const Element &element : service.elements)
        write_element(service, element, tlv);
    const Bytes array = tlv.array();
    FileHeader header = {{}, static_cast<uint32_t>(array.size()), checksum_of(array)};
    std::memcpy(header.magic, kMagic, sizeof header.magic);
    return Bytes(reinterpret_cast<const char *>(&header), sizeof header) + array;
}

std::vector<Element> elements_in(const Bytes &contents) {
    const Bytes array = checked_array(contents);
    std::vector<Element> elements;
    ArrayReader reader(array);
    while (reader.next()) {
        if (reader.tag() == QARN_TLV_TAG_ELEM_INFO) {
            elements.push_back(element_info(reader));
        } else if (elements.empty()) {
            throw DamagedFile();
        } else {
            add_to(elements.back(), reader);
        }
    }
    return elements;
}

} // namespace sim
