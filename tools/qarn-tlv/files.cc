#include "tools/qarn-tlv/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "sim/notation.h"

namespace tlv {
namespace {

constexpr std::size_t kMebibyte = 1 << 20, kLargest = 256 * kMebibyte, kBlock = 1 << 16;

[[noreturn]] void fail(const std::string &name, const std::string &reason) {
    throw std::runtime_error(sim::printable(name) + ": " + reason);
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

int leave_open(std::FILE *) {
    return 0;
}

File open(const std::string &name, const char *mode, std::FILE *standard) {
    if (name == "-") return {standard, leave_open};
    File file(std::fopen(name.c_str(), mode), std::fclose);
    if (!file) fail(name, std::strerror(errno));
    return file;
}

} // namespace

std::string shown_name(const std::string &name) {
    return name == "-" ? "standard input" : name;
}

std::string read_file(const std::string &name) {
    const File file = open(name, "rbe", stdin);
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

void write_file(const std::string &name, std::string_view bytes) {
    File file = open(name, "wbe", stdout);
    const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    if (!is_written || std::fflush(file.get()) != 0) fail(name == "-" ? "standard output" : name, std::strerror(errno));
}

void flush_output() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) fail("standard output", std::strerror(errno));
}

} // namespace tlv
