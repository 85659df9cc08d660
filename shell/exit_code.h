// How commands and processes of the shell end.
#pragma once

namespace shell {

// The exit codes of a command. Of several commands the worst counts.
enum : int {
    kExitComplete = 0,
    kExitFailure = 1,    // the command could not be carried out
    kExitUsage = 2,      // wrong command, argument or description
    kExitIncomplete = 3, // the configuration was printed, but a part of it is missing
    kExitLoop = 4,       // elements wait for each other, so there is no order to print them in
    kExitInterrupted = 130,
    kExitBrokenPipe = 141
};
int worse_of(int code, int other);

} // namespace shell
