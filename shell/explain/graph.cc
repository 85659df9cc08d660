#include <cstdio>
#include <string>

#include "shell/exit_code.h"
#include "shell/explain/explanations.h"

namespace shell {

int show_graph(const explain::Subject &subject, const explain::Selection &selection) {
    const explain::Elements elements;
    const std::string dot = explain::dot_of(elements, subject.names, selection);
    std::fwrite(dot.data(), 1, dot.size(), stdout);
    return kExitComplete;
}

} // namespace shell
