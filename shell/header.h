// The header of a configuration: the command, the time of the display and when the configuration was saved. The library
// prints it after its messages on services that do not answer.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "shell/stages.h"

namespace shell {

// The parts of a text around its header. A text without a header is all configuration.
struct WithHeader {
    std::string_view messages, configuration;
};
WithHeader divide(std::string_view text);

// A text with several headers, such as that of all VDCs, without any of them.
std::string without_headers(std::string_view text);

// Drop the header of a text. `next` must outlive the result.
std::unique_ptr<Stage> without_header_before(Stage &next);

} // namespace shell
