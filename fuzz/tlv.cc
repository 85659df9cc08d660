// A reply as YAML and back: whatever the bytes are, the same come back. The same bytes are also read as YAML; if they
// describe a reply, that reply survives too. The check of a reply reads the bytes as they are.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "explain/check/stream_rules.h"
#include "sim/description.h"
#include "tools/qarn-tlv/decode.h"
#include "tools/qarn-tlv/encode.h"

namespace {

void expect_same_bytes_back(const std::string &reply) {
    const std::string yaml = tlv::decode(reply);
    if (tlv::encode("input", yaml) == reply) return;
    std::fprintf(stderr, "the reply has changed:\n%s", yaml.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    expect_same_bytes_back(input);
    explain::check_stream(input);
    try {
        expect_same_bytes_back(tlv::encode("input", input));
    } catch (const sim::DescriptionError &) { // no YAML, or not that of a reply
    }
    return 0;
}
