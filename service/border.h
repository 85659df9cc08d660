// The border between the library's C++ and its C interface: no exception crosses it.
#pragma once

#include <qarnservice/error.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace service {

// What the caller gave breaks the format.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The caller's function asked to stop.
struct Stopped : std::exception {};

inline constexpr char kNoMemory[] = "memory ran out";

inline int report(qarn_service_error *error, int code, const char *text) {
    if (error != nullptr) {
        error->code = code;
        std::snprintf(error->text, sizeof error->text, "%s", text);
    }
    return code;
}

// Run `action`, and turn what it throws into a code. The standard library throws only for lack of memory, or for a size
// that no memory could hold.
template <typename Action>
int at_border(qarn_service_error *error, const Action &action) {
    try {
        action();
    } catch (const Refusal &refusal) {
        return report(error, QARN_SERVICE_INVALID, refusal.what());
    } catch (const Stopped &) {
        return report(error, QARN_SERVICE_STOPPED, "stopped by the caller");
    } catch (const std::exception &) {
        return report(error, QARN_SERVICE_NO_MEMORY, kNoMemory);
    }
    return report(error, QARN_SERVICE_OK, "");
}

} // namespace service
