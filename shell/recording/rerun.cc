#include "shell/recording/rerun.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "explain/recording/replay.h"
#include "shell/answer.h"
#include "shell/forms.h"
#include "shell/held_output.h"
#include "shell/run.h"

namespace shell {
namespace {

using explain::recording::Recording;

// What a command receives, until the end of the scope.
class Replaced {
  public:
    Replaced(sim::Switch &sw, const std::shared_ptr<const Recording> &recording)
        : sw_(sw), carrier_(sw.transport.carrier), facts_(sw.facts) {
        replay_on(sw, recording, explain::recording::Pace::kFull);
    }
    ~Replaced() {
        sw_.transport.carrier = std::move(carrier_);
        sw_.facts = std::move(facts_);
    }
    Replaced(const Replaced &) = delete;
    Replaced &operator=(const Replaced &) = delete;

  private:
    sim::Switch &sw_;
    std::shared_ptr<sim::Carrier> carrier_;
    std::shared_ptr<sim::Facts> facts_;
};

// In the process of the command.
Ran run_silently(sim::Switch &, EntryPoint entry, qarn_req &req) {
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) dup2(null, STDERR_FILENO);
    return {entry(&req), kExitComplete};
}

} // namespace

Rerun run_again(Session &session, const std::shared_ptr<const Recording> &recording) {
    const Line line = match(recording->command.display);
    if (!line.has_display() || line.is_explained) throw CommandError(kNoDisplay);
    const Replaced replaced(session.current(), recording);
    const HeldOutput text({});
    Request request(recording->command.display);
    fill_request(session, line, request);
    request.has_header = recording->command.has_header;
    request.options = recording->command.options;
    request.req.dbg_mask = recording->command.debug_mask;
    request.runner = run_silently;
    const int code = run_command(session.current(), entry_of(*line.form, *line.display), request, {}, text.descriptor(),
                                 deadline_of(session));
    return {text.contents(), code};
}

} // namespace shell
