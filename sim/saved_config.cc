// The manifest is read once per display, under the lock. A service is compared with it when the service answers.
#include "sim/saved_config.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sim/manifest.h"
#include "sim/notation.h"
#include "sim/secret.h"
#include "sim/service_file.h"
#include "sim/store.h"
#include "sim/store_lock.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr char kSavedAt[] = "Startup config saved at"; // in the line that a display shows
constexpr char kCopyAgain[] = "; save the configuration again with \"copy running-config startup-config\"";

// Of the current display.
std::optional<Manifest> manifest;
std::vector<std::string> problems;

void report(const std::string &path, const std::string &what) {
    const std::string problem = printable(path) + ": " + printable(what);
    std::fprintf(stderr, "store: %s\n", problem.c_str());
    problems.push_back(problem);
    for (Observer *observer : current().observers)
        observer->learned({FactKind::kStoreProblem, 0, 0, problem});
}

struct Unreadable {
    int error;
    std::string reason() const { return error == EINVAL ? "is not a regular file" : std::strerror(error); }
};

// Opened without waiting, since a FIFO may have no writer.
std::FILE *open_regular(const std::string &path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return ::fdopen(descriptor, "r");
    ::close(descriptor);
    errno = EINVAL;
    return nullptr;
}

// The whole file.
Bytes read_file(const std::string &path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(open_regular(path), std::fclose);
    if (!file) throw Unreadable{errno};
    Bytes bytes;
    char block[4096];
    while (const std::size_t got = std::fread(block, 1, sizeof block, file.get()))
        bytes.append(block, got);
    if (std::ferror(file.get()) != 0) throw Unreadable{errno};
    return bytes;
}

std::string owner(const std::string &switch_name, uint32_t vdc) {
    return "switch " + sim::quoted(switch_name) + ", VDC " + std::to_string(vdc);
}

std::string label(const Manifest::SavedService &service) {
    return "service " + sim::quoted(service.name) + " (SAP " + std::to_string(service.sap) + ')';
}

// A manifest of another switch is used too: a switch may have got a new name.
std::optional<Manifest> read_manifest(const Switch &sw) {
    const std::string path = manifest_path(sw.ascii_startup_dir);
    std::optional<Manifest> read;
    try {
        read = parse_manifest(read_file(path));
    } catch (const Unreadable &unreadable) {
        report(path, unreadable.reason() + kCopyAgain);
        return {};
    }
    if (!read) {
        report(path, std::string("is not what was saved") + kCopyAgain);
    } else if (read->switch_name != sw.name || read->vdc != sw.vdc) {
        report(path, "was saved by " + owner(read->switch_name, read->vdc) + ", not by " + owner(sw.name, sw.vdc));
    }
    return read;
}

// The names of all entries of a folder, in order; none if it cannot be read.
std::vector<std::string> names_in(const std::string &folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        names.push_back(entry->path().filename());
    std::ranges::sort(names);
    return names;
}

// A name such as "007" does not belong to the service with SAP 7.
bool is_in_manifest(const std::string &name) {
    return std::ranges::any_of(
        manifest->services, [&](const Manifest::SavedService &service) { return name == std::to_string(service.sap); });
}

void report_extra_files(const Switch &sw) {
    const std::string &folder = sw.ascii_startup_dir;
    for (const std::string &name : names_in(folder)) {
        std::string path = folder;
        path.append("/").append(name);
        if (path != sw.bin_startup_dir && path != text_path(folder) && path != manifest_path(folder))
            report(path, "was not saved here");
    }
    for (const std::string &name : names_in(sw.bin_startup_dir))
        if (!is_in_manifest(name)) report(sw.bin_startup_dir + '/' + name, "is not in the manifest");
}

// Also those of services that this display does not ask.
void report_missing_files(const Switch &sw) {
    for (const Manifest::SavedService &saved : manifest->services) {
        const std::string path = service_path(sw.ascii_startup_dir, saved.sap);
        if (::access(path.c_str(), F_OK) != 0) report(path, label(saved) + ": " + std::strerror(errno));
    }
}

void report_unknown_services(const Switch &sw) {
    for (const Manifest::SavedService &saved : manifest->services)
        if (std::ranges::find(sw.services, saved.sap, &Service::sap) == sw.services.end())
            report(service_path(sw.ascii_startup_dir, saved.sap), label(saved) + " is not part of this switch");
}

// The header's time of saving comes from the text.
void compare_text(const Switch &sw) {
    const std::string path = text_path(sw.ascii_startup_dir);
    try {
        const std::string wrong = difference(manifest->text, read_file(path));
        if (!wrong.empty()) report(path, wrong);
    } catch (const Unreadable &unreadable) {
        report(path, unreadable.reason());
    }
}

std::string decode(const Bytes &contents, std::vector<Element> &elements) {
    try {
        elements = elements_in(contents);
    } catch (const DamagedFile &) {
        return "cannot be decoded";
    }
    return "";
}

// What is wrong with the contents of a service's file; empty if nothing is. Stores the elements.
std::string compare(const Manifest::SavedService &saved, const Service &service, const Bytes &contents,
                    std::vector<Element> &elements) {
    if (saved.name != service.name) return "is not the file of service " + sim::quoted(service.name);
    if (std::string wrong = difference(saved.file, contents); !wrong.empty()) return wrong;
    if (std::string wrong = decode(contents, elements); !wrong.empty()) return wrong;
    return elements.size() != saved.elements ? "has another number of elements than the manifest" : "";
}

// False, after a report, if the elements are not those that were saved.
bool read_elements(const std::string &path, const Service &service, std::vector<Element> &elements) {
    const Manifest::SavedService *const saved = manifest ? manifest->find(service.sap) : nullptr;
    if (saved != nullptr && ::access(path.c_str(), F_OK) != 0) return false; // reported with the manifest
    std::string wrong;
    try {
        const Bytes contents = read_file(path);
        wrong = saved != nullptr ? compare(*saved, service, contents, elements) : decode(contents, elements);
    } catch (const Unreadable &unreadable) {
        wrong = unreadable.reason();
    }
    if (!wrong.empty()) report(path, (saved != nullptr ? label(*saved) + ": " : "") + wrong);
    return wrong.empty();
}

// A file that the manifest does not list was reported when the configuration was opened. Without a manifest, which was
// reported too, each file counts.
bool read_service(const std::string &folder, const Service &service, std::vector<Element> &elements) {
    const std::string path = service_path(folder, service.sap);
    if (manifest && manifest->find(service.sap) != nullptr) return read_elements(path, service, elements);
    const bool is_missing = ::access(path.c_str(), F_OK) != 0 && errno == ENOENT;
    return is_missing || (!manifest && read_elements(path, service, elements));
}

bool lists_services(const Switch &sw) {
    try {
        const std::optional<Manifest> read = parse_manifest(read_file(manifest_path(sw.ascii_startup_dir)));
        return !read || !read->services.empty();
    } catch (const Unreadable &unreadable) {
        return unreadable.error != ENOENT;
    }
}

// A missing text is reported; the library then takes the store for empty.
bool is_text_a_file(const std::string &path) {
    struct stat status = {};
    const int reason = ::stat(path.c_str(), &status) != 0 ? errno : S_ISREG(status.st_mode) ? 0 : EINVAL;
    if (reason != 0) report(path, reason == EINVAL ? "is not a regular file" : std::strerror(reason));
    return reason != EINVAL;
}

// Empty if the file is what was saved.
std::string fault_of_saved_file(const Switch &sw, const Manifest::SavedService &saved) {
    try {
        return difference(saved.file, read_file(service_path(sw.ascii_startup_dir, saved.sap)));
    } catch (const Unreadable &unreadable) {
        return unreadable.reason();
    }
}

// Interfaces show the lines of a profile whose saved element is secret.
void note_secret_profiles(const std::vector<Element> &saved, Switch &sw) {
    for (const Element &element : saved)
        if (element.secret && !element.port_profile.empty()) hide_profile(sw, element.port_profile, *element.secret);
}

// An element may have become secret since it was saved. One that was secret then is so still.
void add_marks(const Service &service, std::vector<Element> &saved) {
    std::unordered_map<uint32_t, uint32_t> words; // by element id
    for (const Element &element : service.elements)
        if (element.secret) words.emplace(element.id, *element.secret);
    for (Element &element : saved) {
        const auto mark = words.find(element.id);
        if (mark != words.end()) element.secret = std::min(element.secret.value_or(mark->second), mark->second);
    }
}

} // namespace

bool begin_startup_display(const Switch &sw) {
    problems.clear();
    for (const std::string &folder : {sw.store, sw.ascii_startup_dir}) {
        std::error_code error;
        const fs::file_status status = fs::status(folder, error);
        if (folder == sw.ascii_startup_dir && status.type() == fs::file_type::not_found)
            return true; // nothing saved yet
        if (!error && !fs::is_directory(status)) error = std::make_error_code(std::errc::not_a_directory);
        if (!error && ::access(folder.c_str(), R_OK | X_OK) != 0) error = {errno, std::generic_category()};
        if (error) {
            report(folder, error.message());
            return true;
        }
    }
    return is_text_a_file(text_path(sw.ascii_startup_dir));
}

std::string folder_of_services(const Switch &sw) {
    std::error_code error;
    const bool is_missing = fs::status(sw.bin_startup_dir, error).type() == fs::file_type::not_found;
    const std::vector<std::string> names = names_in(sw.bin_startup_dir);
    const bool is_empty = std::ranges::all_of(names, [](const std::string &name) { return name.starts_with('.'); });
    if (!is_empty || (error && !is_missing)) return sw.bin_startup_dir;
    // The library shows the text when the services saved nothing, which is not so if only their files are gone. The
    // folder above them then takes their place, since the library counts its entries.
    if (lists_services(sw)) return sw.ascii_startup_dir;
    return is_missing ? "" : sw.bin_startup_dir;
}

void open_saved_config(const Switch &sw) {
    manifest = read_manifest(sw);
    if (!manifest) return;
    compare_text(sw);
    report_extra_files(sw);
    report_missing_files(sw);
    report_unknown_services(sw);
}

std::string foreign_owner(const Switch &sw) {
    try {
        const std::optional<Manifest> old = parse_manifest(read_file(manifest_path(sw.ascii_startup_dir)));
        if (old && (old->switch_name != sw.name || old->vdc != sw.vdc)) return owner(old->switch_name, old->vdc);
    } catch (const Unreadable &) { // nothing that could be known
    }
    return "";
}

std::optional<SavedServices> list_saved_services(const Switch &sw) {
    problems.clear();
    if (sw.store.empty()) throw StoreError("the switch has no store");
    if (::access(sw.ascii_startup_dir.c_str(), F_OK) != 0 && errno == ENOENT) return {};
    lock_store(sw.store, LockMode::kShared);
    open_saved_config(sw);
    std::optional<SavedServices> saved;
    if (manifest) {
        saved = SavedServices{*manifest, {}};
        for (const Manifest::SavedService &service : manifest->services)
            saved->faults.push_back(fault_of_saved_file(sw, service));
    }
    unlock_store();
    return saved;
}

const std::vector<std::string> &saved_config_problems() {
    return problems;
}

void report_earlier_problem(const std::string &problem) {
    std::fprintf(stderr, "store: %s\n", printable(problem).c_str());
    problems.push_back(problem);
}

bool has_entries(const std::string &folder) {
    std::error_code error;
    const fs::directory_iterator entries(folder, error);
    const auto is_visible = [](const auto &entry) { return !entry.path().filename().string().starts_with('.'); };
    return error || std::any_of(begin(entries), end(entries), is_visible);
}

Fact describe_text_in(const std::string &folder) {
    if (folder.empty()) return {FactKind::kTextFolder, kNoFolder};
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(open_regular(text_path(folder)), std::fclose);
    if (!file) return {FactKind::kTextFolder, kFolderWithoutText};
    Fact fact = {FactKind::kTextFolder, kFolderWithText};
    char line[4096];
    while (std::fgets(line, sizeof line, file.get()) != nullptr && fact.text.empty())
        if (std::strstr(line, kSavedAt) != nullptr) fact.text = line;
    return fact;
}

Bytes answer_from_store(const Service &service, const qarn_cfg_req_msg &request) {
    Service saved;
    saved.sap = service.sap;
    saved.uuid = service.uuid;
    saved.faults.bad_stamp = service.faults.bad_stamp;
    if (!read_service(requested_folder(request), service, saved.elements)) {
        saved.elements.clear();
        saved.status = kStatusStoreDamaged;
    }
    add_marks(service, saved.elements);
    note_secret_profiles(saved.elements, current());
    return answer_from_elements(saved, request);
}

} // namespace sim
