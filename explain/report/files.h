// The files of the page, which embed.cmake puts into the program.
#pragma once

#include <string_view>

namespace explain {

extern const std::string_view kPageTemplate, kPageStyle, kPageScript;

} // namespace explain
