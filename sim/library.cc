// A place that has no such file says nothing; a file that is there and cannot be loaded is the reason worth reading.
#include "sim/library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string_view>
#include <vector>

#include "sim/conversion.h"
#include "sim/notation.h"
#include "sim/switch.h"

namespace sim {
namespace {

bool is_path(const std::string &name) {
    return name.find('/') != std::string::npos;
}

// Where a file may lie, in the order of the search. A path has one place.
std::vector<std::string> places_of(const std::string &name, const std::string &folder) {
    if (name.starts_with('/') || (is_path(name) && folder.empty())) return {name};
    if (is_path(name)) return {folder + name};
    std::vector<std::string> places;
    if (!folder.empty()) places.push_back(folder + name);
    places.push_back(name); // the loader's own search
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    places.push_back(program / name);
    places.push_back(program.parent_path() / "lib" / name);
    return places;
}

constexpr char kPlatformConversion[] = "/opux/lib/libddas.so";

// The loader's own function, which the one below hides.
void *load(const char *path, int flags) {
    static auto *const loader = reinterpret_cast<decltype(&::dlopen)>(::dlsym(RTLD_NEXT, "dlopen"));
    return loader(path, flags);
}

// While a command is observed, its calls of the library pass through this program.
void *open_conversion_library(Switch &sw) {
    void *handle = nullptr;
    const Fact fact = sw.learn(FactKind::kConversionOpened, [&] {
        const bool is_installed = ::access(kPlatformConversion, F_OK) == 0;
        const Library library = open_library(is_installed ? kPlatformConversion : sw.conversion_library, "", 0);
        handle = library.handle;
        return Fact{FactKind::kConversionOpened, handle != nullptr, 0, library.error};
    });
    if (fact.value == 0) {
        std::fprintf(stderr, "conversion: %s; no text is converted\n", printable(fact.text).c_str());
        return nullptr;
    }
    const bool passes_through = sw.facts || (!sw.observers.empty() && pass_conversions_to(handle));
    return passes_through ? load(nullptr, RTLD_NOW) : handle;
}

std::string places_tried(const std::string &name, const std::string &folder) {
    if (is_path(name)) return "";
    return (folder.empty() ? "" : "; tried " + folder + name + ", then") +
           std::string(folder.empty() ? "; tried" : "") + " the loader's folders and those of the shell";
}

} // namespace

Library open_library(const std::string &name, const std::string &folder, int flags) {
    Library library;
    for (const std::string &place : places_of(name, folder)) {
        std::error_code error;
        // The loader would wait for the writer of a FIFO.
        if (is_path(place) && std::filesystem::exists(place, error) &&
            !std::filesystem::is_regular_file(place, error)) {
            if (library.error.empty()) library.error = place + ": not a regular file";
            continue;
        }
        library.handle = load(place.c_str(), RTLD_NOW | flags);
        if (library.handle != nullptr) return library;
        const char *reason = ::dlerror();
        const bool is_file = is_path(place) && std::filesystem::exists(place, error);
        if (library.error.empty() || is_file) library.error = reason;
    }
    library.error += places_tried(name, folder);
    return library;
}

// The C library's declaration has reserved names.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" void *dlopen(const char *path, int flags) noexcept {
    const bool is_conversion = path != nullptr && std::string_view(path) == kPlatformConversion;
    if (!is_conversion || current().conversion_library.empty()) return load(path, flags);
    return open_conversion_library(current());
}

} // namespace sim
