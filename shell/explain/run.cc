#include <optional>
#include <utility>

#include "explain/observation.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/signals.h"

namespace shell {

uint32_t run_observed(sim::Switch &sw, EntryPoint entry, qarn_req &req, explain::Observation &observation) {
    std::FILE *const output = std::exchange(sw.output, nullptr);
    sw.observers.push_back(&observation);
    const uint32_t status = entry(&req);
    sw.observers.pop_back();
    sw.output = output;
    return status;
}

Runner explained_by(Explanation explanation) {
    return [explanation = std::move(explanation)](sim::Switch &sw, EntryPoint entry, qarn_req &req) {
        explain::Observation observation;
        std::optional<HeldInterruption> held;
        if (sw.transport.heeds_interruptions) held.emplace();
        const uint32_t status = run_observed(sw, entry, req, observation);
        const bool is_interrupted = held && (held->take() || sw.transport.was_interrupted);
        held.reset(); // a second one ends the process
        const int code = explanation({observation, sw});
        return Ran{status, is_interrupted ? worse_of(code, kExitInterrupted) : code};
    };
}

} // namespace shell
