// Holds a text back until it is longer than the screen or has ended. Then a pager takes it, at its own pace; what it
// has not taken yet is kept here, so that the command never waits for a reader who reads.
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "shell/destination.h"
#include "shell/exit_code.h"
#include "shell/pager.h"

namespace shell {
namespace {

// Counts the rows that a text takes on the screen.
class Rows {
  public:
    Rows() {
        struct winsize size = {};
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
        if (size.ws_row != 0) rows_ = size.ws_row;
        if (size.ws_col != 0) columns_ = size.ws_col;
    }

    void add(std::string_view text) {
        for (const char c : text)
            add(c);
    }

    // The last row is for the prompt.
    bool are_too_many() const { return count_ + (column_ > 0 ? 1 : 0) > rows_ - 1; }

  private:
    void add(char c) {
        constexpr std::size_t kTab = 8;
        if (is_in_color_) {
            is_in_color_ = c != 'm';
        } else if (c == '\x1b') {
            is_in_color_ = true;
        } else if (c == '\n') {
            ++count_;
            column_ = 0;
        } else if ((c & 0xc0) != 0x80) { // such a byte goes on with a character
            if (column_ >= columns_) {
                ++count_;
                column_ = 0;
            }
            column_ += c == '\t' ? kTab - column_ % kTab : 1;
        }
    }

    std::size_t rows_ = 24, columns_ = 80; // of a screen that does not report its size
    std::size_t count_ = 0, column_ = 0;
    bool is_in_color_ = false;
};

class PagedScreen : public Destination {
  public:
    void take(std::string_view lines) override {
        if (mode_ == Mode::kPlain) return plain_->take(lines);
        text_.append(lines);
        if (mode_ == Mode::kPaging) return push();
        rows_.add(lines);
        if (rows_.are_too_many()) start_pager();
    }

    void finish() override {
        is_ended_ = true;
        if (mode_ == Mode::kPaging) return push();
        go_on_without_pager();
        plain_->finish();
    }

    void wait(int input) override {
        if (mode_ == Mode::kPaging) return wait_with_pager(input);
        if (mode_ == Mode::kPlain) return plain_->wait(input);
        struct pollfd events = {input, POLLIN, 0};
        poll(&events, 1, -1);
    }

    // A pager may end after the last line that counts while the command still writes others.
    bool is_over() const override { return (mode_ == Mode::kOver && !is_ended_) || plain_->is_over(); }

    int close() override {
        while (mode_ == Mode::kPaging)
            wait_with_pager(-1);
        if (mode_ == Mode::kOver) return is_ended_ ? kExitComplete : kPagerEnded;
        return plain_->close();
    }

  private:
    enum class Mode : uint8_t { kCollecting, kPaging, kPlain, kOver };

    void start_pager() {
        mode_ = Mode::kPaging;
        pager_.start() ? push() : go_on_without_pager();
    }

    void push() {
        while (done_ < text_.size()) {
            const std::size_t fed = pager_.feed(std::string_view(text_).substr(done_));
            if (fed == 0) break;
            done_ += fed;
        }
        if (done_ > text_.size() / 2) {
            text_.erase(0, done_);
            done_ = 0;
        }
        if (is_ended_ && text_.empty()) pager_.end_text();
    }

    void wait_with_pager(int input) {
        push();
        pager_.wait(input, !text_.empty());
        if (!pager_.has_ended()) return push();
        mode_ = Mode::kOver;
        if (pager_.was_killed()) plain_->take("\n"); // it may have left a line without an end
        if (!pager_.has_failed()) return plain_->finish();
        text_.replace(0, done_, pager_.take_back());
        go_on_without_pager();
        if (is_ended_) plain_->finish();
    }

    void go_on_without_pager() {
        mode_ = Mode::kPlain;
        plain_->take(text_);
        text_.clear();
    }

    Mode mode_ = Mode::kCollecting;
    Rows rows_;
    Pager pager_;
    std::unique_ptr<Destination> plain_ = plain_destination(STDOUT_FILENO);
    std::string text_; // not yet taken by the pager from done_ on
    std::size_t done_ = 0;
    bool is_ended_ = false;
};

} // namespace

std::unique_ptr<Destination> paged_screen() {
    return std::make_unique<PagedScreen>();
}

} // namespace shell
