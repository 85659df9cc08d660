// Whether the functions of in-process services can be called. The library is closed again, because it belongs into the
// process that runs a command.
#include <dlfcn.h>

#include "sim/check/subjects.h"
#include "sim/library.h"
#include "sim/notation.h"

namespace sim {
namespace {

constexpr char kLost[] = "; what the function answers is missing from every display";

void check_row(const Switch &sw, const InProcess &row, Report &report) {
    const Library library = open_library(row.library, sw.description_folder, 0);
    if (library.handle == nullptr) {
        return report.warn("library-not-loaded", row.line, "library cannot be loaded: " + library.error + kLost,
                           "correct the name, or put the library there");
    }
    if (::dlsym(library.handle, row.function.c_str()) == nullptr) {
        report.warn("function-not-found", row.line,
                    "library " + quoted(row.library) + " has no function " + quoted(row.function) + kLost,
                    "correct the name of the function");
    }
    ::dlclose(library.handle);
}

} // namespace

void check_in_process(const Switch &sw, Report &report) {
    for (const InProcess &row : sw.in_process)
        check_row(sw, row, report);
}

} // namespace sim
