// A switch description: the text is loaded as if it were a file, and what could be loaded is shown. A description that
// cannot be used has to say so, not to crash.
#include <qarncli/qarncli.h>

#include <cstring>

#include "platform/cfglib.h"
#include "sim/description.h"
#include "sim/switch.h"
#include "support/globals.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    test::reset_globals();
    sim::Switch sw;
    sw.transport.unit = std::chrono::nanoseconds(0);
    try {
        sim::load_description_text(sw, std::string(reinterpret_cast<const char *>(data), size), "input");
    } catch (const sim::DescriptionError &) {
        return 0;
    }
    qarn_cfg_cb_table_size = 0; // what the description names there is a library of its own
    sim::make_current(&sw);
    qarn_req req = {};
    req.valid = 1;
    req.mts_handle = sw.transport.open(4000);
    std::memset(req.vsan_mask.bits, 0xff, sizeof req.vsan_mask.bits);
    qarn_cli_run_cfg_gen(&req);
    sim::make_current(nullptr);
    return 0;
}
