// Reads a description file whole, within bounds of size and time, because the path may name a device or a pipe that has
// no end. The time counts only where the data is late: a regular file is always ready.
#include "sim/description/file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "sim/description.h"

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMebibyte = 1 << 20, kLargest = 32 * kMebibyte; // bench/describe_switch writes up to 27 MB

class File {
  public:
    // Without O_NONBLOCK the opening of a FIFO waits for a writer.
    explicit File(const std::string &path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~File() {
        if (file_ >= 0) close(file_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    bool is_open() const { return file_ >= 0; }

    // Wait until there is data or the end; false if neither comes before the deadline.
    bool is_ready_before(Clock::time_point deadline) const {
        struct pollfd file = {file_, POLLIN, 0};
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            const int ready = poll(&file, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
            if (ready >= 0 || errno != EINTR) return ready != 0;
        }
    }

    // The number of bytes, 0 at the end, or -1 with errno.
    ssize_t read_block(char *block, std::size_t size) const { return read(file_, block, size); }

  private:
    const int file_;
};

[[noreturn]] void fail(const std::string &path, const std::string &reason) {
    throw DescriptionError(path, error_finding(Error::kUnreadable, 0, reason));
}

} // namespace

std::string read_description(const std::string &path, std::chrono::milliseconds patience) {
    const Clock::time_point deadline = Clock::now() + patience;
    const File file(path);
    if (!file.is_open()) fail(path, std::strerror(errno));
    std::string text;
    char block[4096];
    for (;;) {
        if (!file.is_ready_before(deadline))
            fail(path, "the description did not end within " + std::to_string(patience.count()) + " ms");
        const ssize_t got = file.read_block(block, sizeof block);
        if (got == 0) return text;
        if (got < 0 && errno != EAGAIN && errno != EINTR) fail(path, std::strerror(errno));
        if (got > 0) text.append(block, static_cast<std::size_t>(got));
        if (text.size() > kLargest)
            fail(path, "the description is larger than " + std::to_string(kLargest / kMebibyte) + " MiB");
    }
}

} // namespace sim
