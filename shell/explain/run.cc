#include <utility>

#include "explain/observation.h"
#include "shell/explain/explanations.h"

namespace shell {

Runner explained_by(Explanation explanation) {
    return [explanation = std::move(explanation)](sim::Switch &sw, EntryPoint entry, qarn_req &req) {
        explain::Observation observation;
        std::FILE *const output = std::exchange(sw.output, nullptr); // the text comes with its explanation
        sw.observer = &observation;
        const uint32_t status = entry(&req);
        sw.observer = nullptr;
        sw.output = output;
        return Ran{status, explanation({observation, sw})};
    };
}

} // namespace shell
