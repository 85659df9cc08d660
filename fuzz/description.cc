// A switch description: the text is loaded as if it were a file, and then the configuration is shown. A description
// that cannot be used must be reported, and must not crash anything.
#include <qarncli/qarncli.h>

#include "fuzz/input.h"
#include "platform/cfglib.h"
#include "sim/check/check.h"
#include "sim/description.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    fuzz::CurrentSwitch sw;
    sim::check_description_text(std::string(reinterpret_cast<const char *>(data), size), "input");
    try {
        sim::load_description_text(sw, std::string(reinterpret_cast<const char *>(data), size), "input");
    } catch (const sim::DescriptionError &) {
        return 0;
    }
    qarn_cfg_cb_table_size = 0; // the description's functions are in a library that is not fuzzed
    qarn_req req = sw.accepted_request();
    fuzz::select_every_vsan(req);
    qarn_cli_run_cfg_gen(&req);
    return 0;
}
