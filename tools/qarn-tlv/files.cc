#include "tools/qarn-tlv/files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "sim/notation.h"

namespace tlv {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMebibyte = 1 << 20, kLargest = 256 * kMebibyte, kBlock = 1 << 16;

[[noreturn]] void fail(const std::string &name, const std::string &reason) {
    throw std::runtime_error(sim::printable(name) + ": " + reason);
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

int leave_open(std::FILE *) {
    return 0;
}

File open_for_reading(const std::string &name) {
    if (name == "-") return {stdin, leave_open};
    File file(std::fopen(name.c_str(), "rbe"), std::fclose);
    if (!file) fail(name, std::strerror(errno));
    return file;
}

} // namespace

std::string shown_name(const std::string &name) {
    return name == "-" ? "standard input" : name;
}

std::string read_file(const std::string &name) {
    const File file = open_for_reading(name);
    std::string bytes;
    std::size_t got = kBlock;
    while (got == kBlock) {
        const std::size_t size = bytes.size();
        if (size > kLargest)
            fail(shown_name(name), "there are more than " + std::to_string(kLargest / kMebibyte) + " MiB");
        bytes.resize(size + kBlock);
        got = std::fread(bytes.data() + size, 1, kBlock, file.get());
        bytes.resize(size + got);
    }
    if (std::ferror(file.get()) != 0) fail(shown_name(name), std::strerror(errno));
    return bytes;
}

namespace {

bool write_to(std::FILE *file, std::string_view bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fflush(file) == 0;
}

// A file that is there is replaced when the new one is whole. Devices and pipes are written as they are.
void replace_file(const std::string &name, std::string_view bytes) {
    std::error_code error;
    const bool is_file = !fs::exists(name, error) || fs::is_regular_file(name, error);
    const std::string target = fs::is_symlink(name, error) ? fs::weakly_canonical(name, error).string() : name;
    const std::string written = is_file ? target + ".new" + std::to_string(::getpid()) : target;
    File file(std::fopen(written.c_str(), "wbe"), std::fclose);
    if (file && write_to(file.get(), bytes)) {
        file.reset();
        if (!is_file || std::rename(written.c_str(), target.c_str()) == 0) return;
    }
    const int reason = errno;
    if (is_file) std::remove(written.c_str());
    fail(name, std::strerror(reason));
}

} // namespace

void write_file(const std::string &name, std::string_view bytes) {
    if (name != "-") return replace_file(name, bytes);
    if (!write_to(stdout, bytes)) fail("standard output", std::strerror(errno));
}

void flush_output() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) fail("standard output", std::strerror(errno));
}

} // namespace tlv
