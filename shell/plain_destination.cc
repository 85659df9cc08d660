#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "shell/destination.h"
#include "shell/exit_code.h"
#include "shell/message.h"

namespace shell {
namespace {

constexpr std::size_t kBlock = 65536;

class PlainDestination : public Destination {
  public:
    explicit PlainDestination(int descriptor) : descriptor_(descriptor) {}

    void take(std::string_view lines) override {
        if (held_.size() + lines.size() > kBlock) flush();
        if (lines.size() >= kBlock) {
            write_all(lines);
        } else {
            held_.append(lines);
        }
    }
    void finish() override { flush(); }
    void wait(int input) override {
        flush();
        struct pollfd events = {input, POLLIN, 0};
        if (!is_over()) poll(&events, 1, -1);
    }
    bool is_over() const override { return code_ != kExitComplete; }
    int close() override { return code_; }

  private:
    void flush() {
        write_all(held_);
        held_.clear();
    }

    void write_all(std::string_view text) {
        while (!text.empty() && !is_over()) {
            const ssize_t written = write(descriptor_, text.data(), text.size());
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) return fail();
            text.remove_prefix(static_cast<std::size_t>(written));
        }
    }

    void fail() {
        code_ = errno == EPIPE ? kExitBrokenPipe : kExitFailure;
        if (code_ == kExitFailure) print_message("cannot write: %s", std::strerror(errno));
    }

    int descriptor_;
    int code_ = kExitComplete;
    std::string held_;
};

} // namespace

std::unique_ptr<Destination> plain_destination(int descriptor) {
    return std::make_unique<PlainDestination>(descriptor);
}

bool has_input(int descriptor) {
    struct pollfd events = {descriptor, POLLIN, 0};
    return poll(&events, 1, 0) == 1;
}

} // namespace shell
