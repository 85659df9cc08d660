#include "sim/output_view.h"

namespace sim {
namespace {

constexpr std::string_view kCommand = "\n!Command: ", kTime = "!Time: %s", kSavedNow = "!Startup config saved at: ";
constexpr std::string_view kSavedLine = "%s\n"; // as the saved text has it

} // namespace

void OutputView::advance(std::string_view format) {
    const bool follows_time = state_ == State::kTime && (format == kSavedLine || format.starts_with(kSavedNow));
    if (state_ == State::kMessages && format.starts_with(kCommand)) {
        state_ = State::kCommand;
    } else if (state_ == State::kCommand && format == kTime) {
        state_ = State::kTime;
    } else if (state_ != State::kMessages) {
        state_ = follows_time ? State::kSaved : State::kConfiguration;
    }
}

OutputView::Target OutputView::target_of(std::string_view format) {
    if (state_ == State::kConfiguration) return Target::kOutput;
    advance(format);
    if (state_ == State::kMessages) return puts_messages_apart ? Target::kStandardError : Target::kOutput;
    if (!hides_header) return Target::kOutput;
    return state_ == State::kConfiguration ? Target::kAfterHeader : Target::kNowhere;
}

} // namespace sim
