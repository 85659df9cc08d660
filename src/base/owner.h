// Owning pointers for memory, strings and files from C libraries. Records are allocated with malloc, so that a failed
// allocation is a null pointer, which the caller handles.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <glib.h>

namespace qarn {

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Malloced = std::unique_ptr<T, Free>;

// Set by a failed allocation: what the record was for is missing. The outcome of a command resets and reads it.
inline bool memory_ran_out = false;

// An uninitialised record of `size` bytes, or null if memory runs out.
template <typename T>
Malloced<T> allocate(std::size_t size = sizeof(T)) {
    Malloced<T> record(static_cast<T *>(std::malloc(size)));
    if (!record) memory_ran_out = true;
    return record;
}

struct FreeString {
    void operator()(GString *string) const { g_string_free(string, TRUE); }
};
using String = std::unique_ptr<GString, FreeString>;

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

} // namespace qarn
