#include <utility>

#include "explain/observation.h"
#include "shell/explain/explanations.h"

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
        const uint32_t status = run_observed(sw, entry, req, observation);
        return Ran{status, explanation({observation, sw})};
    };
}

} // namespace shell
