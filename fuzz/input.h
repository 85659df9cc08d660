// The bytes of one input, read as whatever a target needs. Behind the end everything reads as zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

class Input {
  public:
    Input(const uint8_t *data, std::size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

    bool empty() const { return rest_.empty(); }
    uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto byte = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return byte;
    }
    uint32_t word16() {
        const uint32_t low = byte();
        return low | static_cast<uint32_t>(byte()) << 8;
    }
    uint32_t word() {
        const uint32_t low = word16();
        return low | word16() << 16;
    }
    // Up to `size` bytes.
    std::string bytes(std::size_t size) {
        std::string taken(rest_.substr(0, size));
        rest_.remove_prefix(taken.size());
        return taken;
    }

  private:
    std::string_view rest_;
};

} // namespace fuzz
