// The options of the command line of vsh, and the text after them in its help.
#pragma once
namespace CLI {
class App;
}

namespace shell {

struct Options;

// Declare the options so that a parse of the command line sets them.
void declare_options(CLI::App &app, Options &options);

} // namespace shell
