// The forms of a display: each has an entry point of the library for the running and for the startup configuration.
#pragma once

#include "shell/line.h"
#include "shell/request.h"
#include "sim/switch.h"

namespace shell {

struct Form {
    EntryPoint running, startup;                                // null: no such display
    void (*fill)(const Line &, const sim::Switch &, Request &); // null: nothing to fill
};

// What the request says besides, if a service, a feature or default values follow the form.
struct Narrowing {
    void (*fill)(std::string_view argument, const sim::Switch &, Request &);
};

inline EntryPoint entry_of(const Form &form, const Display &display) {
    return display.is_startup ? form.startup : form.running;
}

extern const Form kWhole, kVlan, kVsan, kInterface, kBfd, kL2mp, kFex, kExcludeL2mp, kExcludeFex, kPortProfile,
    kExclude, kService, kFeature, kAll, kTemplate, kModules, kVdcAll, kAllVdcAll;

extern const Narrowing kByService, kByFeature, kWithDefaults;

} // namespace shell
