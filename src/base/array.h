// Arrays whose memory may run out: then they are false, and the caller does without.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "base/owner.h"

namespace qarn {

// Of a size that is known when it is made. The values are uninitialised.
template <typename T>
class Array {
  public:
    explicit Array(std::size_t size)
        : values_(static_cast<T *>(std::malloc(std::max(size, std::size_t{1}) * sizeof(T)))) {}

    explicit operator bool() const { return values_ != nullptr; }
    T &operator[](std::size_t at) { return values_.get()[at]; }
    const T &operator[](std::size_t at) const { return values_.get()[at]; }
    T *begin() { return values_.get(); }
    const T *begin() const { return values_.get(); }

  private:
    Malloced<T> values_;
};

// Grows with what is appended.
class Numbers {
  public:
    // False, and nothing changed, if memory runs out.
    bool append(uint32_t number) {
        if (count_ == room_ && !grow()) return false;
        numbers_.get()[count_++] = number;
        return true;
    }

    uint32_t count() const { return count_; }
    uint32_t *begin() { return numbers_.get(); }
    const uint32_t *begin() const { return numbers_.get(); }

  private:
    bool grow() {
        const uint32_t room = std::max(2 * room_, uint32_t{64});
        void *grown = std::realloc(numbers_.get(), std::size_t{room} * sizeof(uint32_t));
        if (grown == nullptr) return false;
        static_cast<void>(numbers_.release());
        numbers_.reset(static_cast<uint32_t *>(grown));
        room_ = room;
        return true;
    }

    Malloced<uint32_t> numbers_;
    uint32_t count_ = 0, room_ = 0;
};

} // namespace qarn
