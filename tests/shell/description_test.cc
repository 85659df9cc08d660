// Descriptions that end too late or need too much memory, within bounds that a user of the shell cannot set.
#include "sim/description.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <string>

#include "sim/description/file.h"

static std::size_t largest_allocation = SIZE_MAX;

// gcc 12 takes an inlined free for a mismatch of the new that it does not inline.
[[gnu::noinline]] void *operator new(std::size_t size) {
    void *memory = size <= largest_allocation ? std::malloc(size) : nullptr;
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void operator delete(void *memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

template <typename Function>
std::string error_of(Function function) {
    try {
        function();
    } catch (const sim::DescriptionError &error) {
        return error.what();
    }
    return "none";
}

TEST(Description, MustComeThroughItsPipeInTime) {
    const std::string fifo = testing::TempDir() + "fifo-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string error = error_of([&] { sim::read_description(fifo, std::chrono::milliseconds(20)); });
    EXPECT_EQ(error, fifo + ": the description did not end within 20 ms");
    std::remove(fifo.c_str());
}

TEST(Description, IsNamedWhenMemoryRunsOut) {
    const std::string long_text = "name: " + std::string(10000, 'x');
    const std::string file = testing::TempDir() + "large-" + std::to_string(getpid());
    std::ofstream(file) << long_text;
    sim::Switch sw;
    largest_allocation = 5000;
    const std::string read = error_of([&] { sim::load_description(sw, file); });
    const std::string parsed = error_of([&] { sim::load_description_text(sw, long_text, "text"); });
    largest_allocation = SIZE_MAX;
    EXPECT_EQ(read, file + ": not enough memory to load the description");
    EXPECT_EQ(parsed, "text: not enough memory to load the description");
    std::remove(file.c_str());
}

} // namespace
