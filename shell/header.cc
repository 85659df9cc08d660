#include "shell/header.h"

#include <algorithm>

namespace shell {
namespace {

class WithoutHeader : public Stage {
  public:
    explicit WithoutHeader(Stage &next) : next_(next) {}

    void take(std::string_view lines) override {
        while (!has_passed_ && !lines.empty()) {
            const std::string_view line = lines.substr(0, lines.find('\n'));
            has_passed_ = !is_of_header(line);
            if (!has_passed_) lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        }
        if (!lines.empty()) next_.take(lines);
    }
    void finish() override { next_.finish(); }
    bool is_full() const override { return next_.is_full(); }

  private:
    Stage &next_;
    bool has_passed_ = false;
};

} // namespace

bool is_of_header(std::string_view line) {
    return line.empty() || line.starts_with("!Command: ") || line.starts_with("!Time: ") ||
           line.starts_with("!Startup config saved at: ");
}

std::unique_ptr<Stage> without_header_before(Stage &next) {
    return std::make_unique<WithoutHeader>(next);
}

} // namespace shell
