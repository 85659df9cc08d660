// The border between the library's C++ and its C interface: no exception crosses it.
#pragma once

#include <qarnservice/error.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace service {

// A failure that has a code and a text for the caller.
struct Failure : std::runtime_error {
    Failure(int given_code, const std::string &text) : std::runtime_error(text), code(given_code) {}
    int code;
};

// What the caller gave breaks the format.
struct Refusal : Failure {
    explicit Refusal(const std::string &text) : Failure(QARN_SERVICE_INVALID, text) {}
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
    } catch (const Failure &failure) {
        return report(error, failure.code, failure.what());
    } catch (const Stopped &) {
        return report(error, QARN_SERVICE_STOPPED, "stopped by the caller");
    } catch (const std::exception &) {
        return report(error, QARN_SERVICE_NO_MEMORY, kNoMemory);
    }
    return report(error, QARN_SERVICE_OK, "");
}

} // namespace service
