// An array whose size is known when it is made. Like a GLib container it ends the process if memory runs out.
#pragma once

#include <glib.h>

#include <cstddef>
#include <memory>

namespace qarn {

template <typename T>
class Array {
  public:
    // The values are uninitialised.
    explicit Array(std::size_t size) : values_(g_new(T, size)) {}

    T &operator[](std::size_t at) { return values_.get()[at]; }
    const T &operator[](std::size_t at) const { return values_.get()[at]; }
    T *begin() { return values_.get(); }
    const T *begin() const { return values_.get(); }

  private:
    struct Release {
        void operator()(T *values) const { g_free(values); }
    };
    std::unique_ptr<T, Release> values_;
};

} // namespace qarn
