// Fills the template of a document: each line @NAME@ becomes the list with this name.
// `fill_document TEMPLATE DOCUMENT` runs when the shell is built.
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "shell/documents/completions.h"
#include "shell/documents/manual.h"
#include "shell/options.h"
#include "shell/usage.h"

namespace shell {
namespace {

using List = std::function<std::string()>;

const std::map<std::string, List> &lists() {
    static const std::map<std::string, List> all = {
        {"@MANUAL_COMMANDS@", [] { return usages_of_manual(usages_of_commands()); }},
        {"@MANUAL_FORMS@", [] { return usages_of_manual(usages_of_forms()); }},
        {"@MANUAL_NARROWINGS@", [] { return usages_of_manual(usages_of_narrowings()); }},
        {"@MANUAL_FILTERS@", [] { return usages_of_manual(usages_of_filters()); }},
        {"@MANUAL_OPTIONS@", [] { return options_of_manual(usages_of_options()); }},
        {"@MANUAL_VARIABLES@", [] { return variables_of_manual(usages_of_options()); }},
        {"@BASH_NAMES@", [] { return names_for_bash(usages_of_options()); }},
        {"@BASH_ARGUMENTS@", [] { return arguments_for_bash(usages_of_options()); }},
        {"@ZSH_OPTIONS@", [] { return options_for_zsh(usages_of_options()); }},
        {"@FISH_OPTIONS@", [] { return options_for_fish(usages_of_options()); }},
    };
    return all;
}

std::string filled(const std::string &line) {
    if (!line.starts_with('@')) return line + '\n';
    const auto list = lists().find(line);
    if (list == lists().end()) throw std::runtime_error("there is no list " + line);
    return list->second();
}

void fill(const char *source, const char *document) {
    std::ifstream in(source);
    if (!in) throw std::runtime_error(std::string("cannot read ") + source);
    std::ofstream out(document);
    for (std::string line; std::getline(in, line);)
        out << filled(line);
    out.close();
    if (!out) throw std::runtime_error(std::string("cannot write ") + document);
}

} // namespace
} // namespace shell

int main(int argc, char **argv) {
    try {
        if (argc != 3) throw std::runtime_error("usage: fill_document TEMPLATE DOCUMENT");
        shell::fill(argv[1], argv[2]);
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "fill_document: " << error.what() << '\n';
        return 1;
    }
}
