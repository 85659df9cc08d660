#include "explain/loops.h"

#include <cstdio>
#include <string>

#include "shell/exit_code.h"
#include "shell/explain/explanations.h"

namespace shell {
namespace {

std::string names_joined(const explain::Names &names, const std::vector<uint32_t> &saps) {
    std::string all;
    for (const uint32_t sap : saps)
        all.append(all.empty() ? "" : " and ").append(names.of_service(sap));
    return all;
}

std::string text_of(const explain::Loop &loop, const explain::Elements &elements, const explain::Subject &subject) {
    const std::size_t count = loop.cycle.size();
    std::string text = "loop of " + std::to_string(count) + (count == 1 ? " element" : " elements");
    text += loop.pass.kind == explain::Pass::Kind::kInterfaces ? ", among those of interfaces:\n" : ":\n";
    for (std::size_t i = 0; i < count; ++i) {
        const explain::Key key = elements.all()[loop.cycle[i]].key,
                           next = elements.all()[loop.cycle[(i + 1) % count]].key;
        const std::string declared = names_joined(subject.names, subject.senders.of_dependency(key, next));
        text += "  " + subject.names.of_element(key) + " waits for " + subject.names.of_element(next);
        text += declared.empty() ? "\n" : "; declared by " + declared + "\n";
    }
    return text;
}

} // namespace

int show_loops(const explain::Subject &subject) {
    const explain::Elements elements;
    const std::vector<explain::Loop> loops = explain::find_loops(elements);
    for (const explain::Loop &loop : loops)
        std::fputs(text_of(loop, elements, subject).c_str(), stdout);
    if (loops.empty()) std::puts("no loop");
    return kExitComplete;
}

} // namespace shell
