// CLI11 gives an error as a text. The wording that suits no user is replaced.
#include "shell/option_error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string_view>
#include <vector>

namespace shell {
namespace {

void replace(std::string &text, std::string_view from, std::string_view to) {
    const std::size_t at = text.find(from);
    if (at != std::string::npos) text.replace(at, from.size(), to);
}

std::string reworded(const CLI::ParseError &error, const CLI::App &app) {
    std::string text = error.what();
    if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr) {
        return "unexpected argument: " + app.remaining().front();
    }
    if (dynamic_cast<const CLI::ConversionError *>(&error) != nullptr) {
        replace(text, "Could not convert: ", "");
        replace(text, " = ", ": wrong value ");
    } else if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr && text.ends_with(" missing")) {
        replace(text, ": 1 required ", ": needs ");
        text.resize(text.size() - std::string_view(" missing").size());
    }
    return text;
}

// Whether the value of an option comes from its variable. The parse order has the options of the command line only.
bool is_from_variable(const CLI::Option &option, const CLI::App &app) {
    const std::vector<CLI::Option *> &given = app.parse_order();
    return option.count() > 0 && !option.get_envname().empty() && std::ranges::find(given, &option) == given.end();
}

} // namespace

std::string explain(const CLI::ParseError &error, const CLI::App &app) {
    std::string text = reworded(error, app);
    for (const CLI::Option *option : app.get_options())
        if (is_from_variable(*option, app) && text.starts_with(option->get_name() + ": "))
            return text + " (from the variable " + option->get_envname() + ")";
    return text;
}

} // namespace shell
