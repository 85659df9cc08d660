#include "sim/conversion.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#include "sim/switch.h"

namespace sim {
namespace {

using Print = int32_t (*)(const char *, ...);

// The functions of the real library.
struct {
    uint32_t (*begin)(const char *specification, void **handle);
    uint32_t (*convert)(void *handle, const char *text, uint32_t, uint32_t, Print output);
    uint32_t (*end)(void *handle);
} real;

template <typename Function>
bool find(void *library, const char *name, Function *&function) {
    function = reinterpret_cast<Function *>(::dlsym(library, name));
    return function != nullptr;
}

// The texts of the call that is being observed.
struct Texts {
    Print output = nullptr;
    uint32_t count = 0;
    std::string all;
} texts;

int32_t print_and_keep(const char *format, ...) {
    char *text = nullptr;
    va_list args;
    va_start(args, format);
    const int length = ::vasprintf(&text, format, args);
    va_end(args);
    if (length < 0) return length;
    ++texts.count;
    texts.all += text;
    const int32_t printed = texts.output("%s", text);
    std::free(text);
    return printed;
}

Fact convert(void *handle, const char *text, uint32_t third, uint32_t fourth, Print output) {
    texts = {output, 0, {}};
    const uint32_t status = real.convert(handle, text, third, fourth, print_and_keep);
    return {FactKind::kConverted, status, texts.count, texts.all};
}

} // namespace

bool pass_conversions_to(void *library) {
    return find(library, "ddas_create_qarn_cnv_handle", real.begin) && find(library, "ddas_qarn_cnv", real.convert) &&
           find(library, "ddas_destroy_qarn_cnv_handle", real.end);
}

extern "C" {

uint32_t ddas_create_qarn_cnv_handle(const char *specification, void **handle);
uint32_t ddas_qarn_cnv(void *handle, const char *text, uint32_t third, uint32_t fourth, Print output);
uint32_t ddas_destroy_qarn_cnv_handle(void *handle);

uint32_t ddas_create_qarn_cnv_handle(const char *specification, void **handle) {
    Switch &sw = current();
    if (sw.facts) *handle = &texts; // something that is not null
    return sw
        .learn(FactKind::kConversionBegun,
               [&] {
                   return Fact{FactKind::kConversionBegun, real.begin(specification, handle)};
               })
        .value;
}

uint32_t ddas_qarn_cnv(void *handle, const char *text, uint32_t third, uint32_t fourth, Print output) {
    Switch &sw = current();
    const Fact fact = sw.learn(FactKind::kConverted, [&] { return convert(handle, text, third, fourth, output); });
    if (sw.facts && fact.second != 0) output("%s", fact.text.c_str());
    return fact.value;
}

uint32_t ddas_destroy_qarn_cnv_handle(void *handle) {
    return current()
        .learn(FactKind::kConversionEnded,
               [&] {
                   return Fact{FactKind::kConversionEnded, real.end(handle)};
               })
        .value;
}

} // extern "C"

} // namespace sim
