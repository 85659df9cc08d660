#include "switchd/report.h"

#include <cstdio>
#include <string>

namespace switchd {

void report(std::string_view text) {
    const std::string line = "switchd: " + std::string(text) + '\n'; // one write, because children write there too
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace switchd
