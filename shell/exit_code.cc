#include "shell/exit_code.h"

#include <algorithm>
#include <iterator>

namespace shell {

int worse_of(int code, int other) {
    // Interruptions lie between what was not done and what was done in part.
    const auto rank = [](int of) {
        constexpr int kAscending[] = {kExitComplete, kExitIncomplete, kExitLoop};
        const auto *found = std::find(std::begin(kAscending), std::end(kAscending), of);
        if (found != std::end(kAscending)) return static_cast<int>(found - kAscending);
        return of == kExitUsage ? 5 : of == kExitFailure ? 4 : 3;
    };
    return rank(other) > rank(code) ? other : code;
}

} // namespace shell
