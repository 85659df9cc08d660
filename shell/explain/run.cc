#include <utility>

#include "explain/observation.h"
#include "shell/explain/explanations.h"

namespace shell {

uint32_t run_explained(sim::Switch &sw, EntryPoint entry, Request &request, int &code) {
    explain::Observation observation;
    std::FILE *const output = std::exchange(sw.output, nullptr); // the text comes with its explanation
    sw.observer = &observation;
    const uint32_t status = entry(&request.req);
    sw.observer = nullptr;
    sw.output = output;
    code = request.explanation({observation, sw});
    return status;
}

} // namespace shell
