#include <algorithm>
#include <cstdio>
#include <string>

#include "shell/exit_code.h"
#include "shell/explain/explanations.h"

namespace shell {

namespace {

bool is_named(const explain::Elements &elements, explain::Key key) {
    return std::ranges::any_of(elements.all(), [key](const explain::Element &element) {
        return element.key == key ||
               std::ranges::find(element.dependencies, key, &explain::Dependency::on) != element.dependencies.end();
    });
}

} // namespace

int show_graph(const explain::Subject &subject, const explain::Selection &selection) {
    const explain::Elements elements;
    if (selection.around && !is_named(elements, selection.around->element))
        return report_absent(elements, selection.around->element);
    const std::string dot = explain::dot_of(elements, subject.names, selection);
    std::fwrite(dot.data(), 1, dot.size(), stdout);
    return kExitComplete;
}

} // namespace shell
