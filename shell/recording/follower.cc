#include "shell/recording/follower.h"

#include <unistd.h>

#include <exception>

#include "explain/recording/file.h"
#include "shell/exit_code.h"
#include "shell/job.h"
#include "shell/message.h"

namespace shell {

Follower::Follower(sim::Switch &sw, const Request &request) : sw_(sw), request_(request) {
    if (request.recorded) sw.observers.push_back(&recorder_.emplace());
    // Without its header, or with one, the text is another one.
    const bool is_same_text = request.replayed != nullptr && request.replayed->command.has_header == request.has_header;
    if (is_same_text) sw.observers.push_back(&printed_.emplace());
}

int Follower::finish(int code) {
    if (recorder_) code = worse_of(code, write_recording(code));
    if (!printed_ || request_.replayed->is_equal_to(printed_->digest())) return code;
    print_message("the text is not the one that was recorded");
    return worse_of(code, kExitFailure);
}

// The shell takes an empty file for one that could not be written.
int Follower::write_recording(int code) {
    try {
        recorder_->note_time();
        recorder_->note_reasons(sw_);
        explain::recording::write_recording(
            recorder_->take(sw_, request_.recorded->command, static_cast<uint32_t>(code)),
            request_.recorded->descriptor);
        return kExitComplete;
    } catch (const std::exception &error) {
        print_message("cannot write the recording: %s", error.what());
    }
    return ftruncate(request_.recorded->descriptor, 0) == 0 ? kExitFailure : report_failure("ftruncate");
}

} // namespace shell
