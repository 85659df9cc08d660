// The saved configuration on disk. A service's file is a header (magic, length, checksum) and a TLV array as the
// service would send it, with two tags of its own for what a request decides: views and port profiles. Everything that
// is saved is written beside the old state and takes its place at once, so that whoever reads finds one or the other.
#include "sim/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include <qarncli/tlv_decode.h>

#include "platform/tlv_array.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kScheme = "readonly:";
constexpr std::string_view kBinary = "/bin", kDebug = "/dbg"; // suffixes of the two URIs

enum : std::uint32_t { kTagEveryView = 0x100, kTagPortProfile = 0x101 };

struct FileHeader {
    char magic[8];
    std::uint32_t length, checksum; // of what follows
};
constexpr char kMagic[sizeof(FileHeader::magic) + 1] = "QARNSAV1";

std::uint32_t checksum_of(std::string_view bytes) {
    std::uint32_t sum = 2166136261u; // FNV-1a
    for (const char c : bytes)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619u;
    return sum;
}

std::string saved_folder(const std::string &folder) {
    return folder + "/startup-cfg";
}

std::string service_file(std::string_view binary_folder, std::uint32_t sap) {
    return std::string(binary_folder) + '/' + std::to_string(sap);
}

// ---- Writing --------------------------------------------------------------------------------------------------------

void write_element(const Service &service, const Element &element, Tlv &tlv) {
    tlv.element({service.uuid, element.id, element.level, element.property, element.val_type});
    if (element.every_view) tlv.words(kTagEveryView, {1});
    if (!element.port_profile.empty()) tlv.raw(kTagPortProfile, element.port_profile + '\0');
    for (const Dependency &dependency : element.dependencies)
        tlv.after(dependency.uuid, dependency.elem_id, dependency.type);
    if (!element.text.empty()) tlv.text(element.text);
    for (const auto &[if_index, text] : element.intf_texts)
        tlv.intf_text(if_index, text);
    for (const auto &[name, text] : element.key_strings)
        tlv.key_string(name, text);
    for (const Key &key : element.keys)
        tlv.key(key.index, key.map, key.name);
}

Bytes file_of(const Service &service) {
    Tlv tlv;
    for (const Element &element : service.elements)
        write_element(service, element, tlv);
    const Bytes array = tlv.array();
    FileHeader header = {{}, static_cast<std::uint32_t>(array.size()), checksum_of(array)};
    std::memcpy(header.magic, kMagic, sizeof header.magic);
    return Bytes(reinterpret_cast<const char *>(&header), sizeof header) + array;
}

void write_file(const std::string &path, const Bytes &bytes) {
    std::FILE *file = std::fopen(path.c_str(), "we");
    const bool is_written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool is_closed = file != nullptr && std::fclose(file) == 0;
    if (!is_written || !is_closed) throw StoreError("cannot write " + path + ": " + std::strerror(errno));
}

// Let `fresh` take the place of `old`, which goes.
void replace_folder(const std::string &old, const std::string &fresh) {
    if (!fs::exists(old)) return fs::rename(fresh, old);
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, old.c_str(), RENAME_EXCHANGE) != 0)
        throw StoreError("cannot replace " + old + ": " + std::strerror(errno));
    fs::remove_all(fresh);
}

void write_and_replace(const Switch &sw, const std::string &text) {
    const std::string fresh = saved_folder(sw.store) + ".new", binary = fresh + std::string(kBinary);
    fs::remove_all(fresh); // of a process that was interrupted
    fs::create_directories(binary);
    write_file(fresh + "/system.cfg", text);
    for (const Service &service : sw.services)
        write_file(service_file(binary, service.sap), file_of(service));
    replace_folder(saved_folder(sw.store), fresh);
}

// ---- Reading --------------------------------------------------------------------------------------------------------

struct Damaged {};

// The whole file; nothing when there is none.
std::optional<Bytes> read_file(const std::string &path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "re"), std::fclose);
    if (!file && errno == ENOENT) return {};
    if (!file) throw Damaged();
    Bytes bytes;
    char block[4096];
    while (const std::size_t got = std::fread(block, 1, sizeof block, file.get()))
        bytes.append(block, got);
    if (std::ferror(file.get()) != 0) throw Damaged();
    return bytes;
}

// The array in a file, once every length and the checksum are what was written.
Bytes checked_array(const Bytes &bytes) {
    constexpr std::size_t kArrayHeader = 8;
    FileHeader header;
    if (bytes.size() < sizeof header + kArrayHeader) throw Damaged();
    std::memcpy(&header, bytes.data(), sizeof header);
    const Bytes array = bytes.substr(sizeof header);
    std::uint32_t array_size;
    std::memcpy(&array_size, array.data() + 4, sizeof array_size);
    if (std::memcmp(header.magic, kMagic, sizeof header.magic) != 0 || header.length != array.size() ||
        header.checksum != checksum_of(array) || array_size != array.size())
        throw Damaged();
    return array;
}

class ArrayReader {
  public:
    explicit ArrayReader(const Bytes &array) : array_(array) {}

    bool next() {
        void *value = nullptr;
        std::uint32_t length = 0;
        if (tlv32_aligned_array_get_next_tlv(array_.data(), &tag_, &length, &value, 0, &cursor_) != 0) return false;
        value_ = std::string_view(static_cast<const char *>(value), length);
        return true;
    }
    std::uint32_t tag() const { return tag_; }
    std::uint32_t word(std::size_t i) const {
        std::uint32_t word;
        if (value_.size() < (i + 1) * sizeof word) throw Damaged();
        std::memcpy(&word, value_.data() + i * sizeof word, sizeof word);
        return word;
    }
    std::string text() const {
        if (value_.empty() || value_.back() != '\0') throw Damaged();
        return std::string(value_.substr(0, value_.size() - 1));
    }
    std::string next_text() {
        if (!next() || tag_ != QARN_TLV_TAG_STR) throw Damaged();
        return text();
    }

  private:
    const Bytes &array_;
    std::uint32_t cursor_ = 0, tag_ = 0;
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

void add_to(Element &element, ArrayReader &reader) {
    switch (reader.tag()) {
        case kTagEveryView:
            element.every_view = true;
            break;
        case kTagPortProfile:
            element.port_profile = reader.text();
            break;
        case QARN_TLV_TAG_DEPENDENCY:
            element.dependencies.push_back({reader.word(0), reader.word(1), reader.word(2)});
            break;
        case QARN_TLV_TAG_STR:
            element.text = reader.text();
            break;
        case QARN_TLV_TAG_IFINDEX_STR: {
            const std::uint32_t if_index = reader.word(0);
            element.intf_texts.emplace_back(if_index, reader.next_text());
            break;
        }
        case QARN_TLV_TAG_KEY_STR: {
            std::string name = reader.text();
            element.key_strings.emplace_back(std::move(name), reader.next_text());
            break;
        }
        case QARN_TLV_TAG_KEY: {
            Key key{reader.word(0), reader.next_text(), {}};
            key.name = reader.next_text();
            element.keys.push_back(std::move(key));
            break;
        }
        default:
            throw Damaged();
    }
}

std::vector<Element> read_elements(const std::string &path) {
    std::vector<Element> elements;
    const std::optional<Bytes> bytes = read_file(path);
    if (!bytes) return elements;
    const Bytes array = checked_array(*bytes);
    ArrayReader reader(array);
    while (reader.next()) {
        if (reader.tag() == QARN_TLV_TAG_ELEM_INFO) {
            elements.push_back(element_info(reader));
        } else if (elements.empty()) {
            throw Damaged();
        } else {
            add_to(elements.back(), reader);
        }
    }
    return elements;
}

// ---- The lock -------------------------------------------------------------------------------------------------------

// Open while this process holds the lock; the programs that it starts do not inherit it.
int lock_file = -1;

class HeldLock {
  public:
    HeldLock() = default;
    ~HeldLock() { unlock_store(); }
    HeldLock(const HeldLock &) = delete;
    HeldLock &operator=(const HeldLock &) = delete;
};

} // namespace

void use_store(Switch &sw, const std::string &folder) {
    sw.store = folder;
    sw.ascii_startup_dir = folder.empty() ? "" : saved_folder(folder);
    sw.bin_startup_dir = folder.empty() ? "" : saved_folder(folder) + std::string(kBinary);
    if (kScheme.size() + sw.bin_startup_dir.size() >= sizeof(qarn_lock_response::bin_uri))
        throw StoreError("the path of the store is too long: " + folder);
}

std::uint32_t lock_store(const std::string &folder) {
    if (lock_file >= 0) return 0;
    const int file = ::open((folder + "/lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) return kStatusStoreUnusable;
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        const bool is_held = errno == EWOULDBLOCK;
        ::close(file);
        return is_held ? kStatusStoreLocked : kStatusStoreUnusable;
    }
    lock_file = file;
    return 0;
}

void unlock_store() {
    if (lock_file >= 0) ::close(std::exchange(lock_file, -1));
}

qarn_lock_response store_response(const Switch &sw) {
    qarn_lock_response response = {};
    const std::string base = std::string(kScheme) + sw.ascii_startup_dir;
    std::snprintf(response.bin_uri, sizeof response.bin_uri, "%s%s", base.c_str(), kBinary.data());
    std::snprintf(response.debug_uri, sizeof response.debug_uri, "%s%s", base.c_str(), kDebug.data());
    return response;
}

void save_startup(const Switch &sw, const std::string &text) {
    try {
        fs::create_directories(sw.store);
        if (const std::uint32_t status = lock_store(sw.store); status == kStatusStoreLocked)
            throw StoreError("startup configuration is locked by another process");
        else if (status != 0)
            throw StoreError("cannot lock " + sw.store + ": " + std::strerror(errno));
        const HeldLock held;
        write_and_replace(sw, text);
    } catch (const fs::filesystem_error &error) {
        throw StoreError(error.what());
    }
}

Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request) {
    std::string_view folder(request.startup_uri, strnlen(request.startup_uri, sizeof request.startup_uri));
    if (folder.starts_with(kScheme)) folder.remove_prefix(kScheme.size());
    Service saved;
    saved.sap = service.sap;
    saved.uuid = service.uuid;
    try {
        saved.elements = read_elements(service_file(std::string(folder) + std::string(kBinary), service.sap));
    } catch (const Damaged &) {
        saved.status = kStatusStoreDamaged;
    }
    return answer_from_elements(saved, request);
}

} // namespace sim
