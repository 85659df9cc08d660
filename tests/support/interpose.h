// Replacing a C library function as libqarncli calls it, and nobody else: the slots of the library's own relocations
// are pointed at the replacement. Tests use it to stop the clock, to let the n-th allocation fail, to find files.
#pragma once

#include <cstddef>

namespace test {

// While this lives, the library's calls of `symbol` go to `replacement`.
class Interposed {
  public:
    Interposed(const char *symbol, void *replacement);
    ~Interposed();
    Interposed(const Interposed &) = delete;
    Interposed &operator=(const Interposed &) = delete;

  private:
    const char *symbol_;
    void *original_ = nullptr;
};

// While this lives, the library's own allocations are counted and may fail. GLib's are not among them.
class FailingMalloc {
  public:
    FailingMalloc();
    FailingMalloc(const FailingMalloc &) = delete;
    FailingMalloc &operator=(const FailingMalloc &) = delete;

    // The n-th coming allocation (1 is the next one) of `size` bytes fails; of any size when that is 0.
    FailingMalloc &fail_nth(int n, std::size_t size = 0);
    void work_again();
    int calls() const; // of any size, since this was made

  private:
    Interposed interposed_;
};

// While this lives, the library's clock is stopped at the given second.
class StoppedClock {
  public:
    explicit StoppedClock(long seconds);

  private:
    Interposed interposed_;
};

} // namespace test
