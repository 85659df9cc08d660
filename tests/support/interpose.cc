// The library's relocations are found through the dynamic loader's list of loaded objects: every slot that was bound
// to the symbol, for calls and for its address, is rewritten.
#include "support/interpose.h"

#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <string>

namespace test {
namespace {

constexpr char kLibrary[] = "libqarncli.so";

const ElfW(Dyn) * find(const ElfW(Dyn) * dynamic, ElfW(Sxword) tag) {
    for (; dynamic->d_tag != DT_NULL; ++dynamic) {
        if (dynamic->d_tag == tag) return dynamic;
    }
    return nullptr;
}

void write_slot(void **slot, void *value) {
    const auto page_size = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto page = reinterpret_cast<uintptr_t>(slot) & ~(page_size - 1);
    mprotect(reinterpret_cast<void *>(page), page_size, PROT_READ | PROT_WRITE);
    *slot = value;
}

// Call `visit` with every slot of the library that is bound to the symbol.
void for_each_slot(const char *symbol, const std::function<void(void **)> &visit) {
    struct Search {
        const char *symbol;
        const std::function<void(void **)> &visit;
    } search{symbol, visit};
    dl_iterate_phdr(
        [](dl_phdr_info *info, std::size_t, void *data) {
            if (std::strstr(info->dlpi_name, kLibrary) == nullptr) return 0;
            const auto &wanted = *static_cast<Search *>(data);
            const ElfW(Dyn) *dynamic = nullptr;
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto &header = info->dlpi_phdr[i];
                if (header.p_type == PT_DYNAMIC) {
                    dynamic = reinterpret_cast<const ElfW(Dyn) *>(info->dlpi_addr + header.p_vaddr);
                }
            }
            const auto *symbols = reinterpret_cast<const ElfW(Sym) *>(find(dynamic, DT_SYMTAB)->d_un.d_ptr);
            const auto *names = reinterpret_cast<const char *>(find(dynamic, DT_STRTAB)->d_un.d_ptr);
            const auto walk = [&](ElfW(Sxword) table, ElfW(Sxword) size) {
                const auto *start = find(dynamic, table);
                if (start == nullptr) return;
                const auto *relocation = reinterpret_cast<const ElfW(Rela) *>(start->d_un.d_ptr);
                const auto *end = relocation + find(dynamic, size)->d_un.d_val / sizeof(ElfW(Rela));
                for (; relocation != end; ++relocation) {
                    const auto &bound = symbols[ELF64_R_SYM(relocation->r_info)];
                    if (std::strcmp(names + bound.st_name, wanted.symbol) != 0) continue;
                    wanted.visit(reinterpret_cast<void **>(info->dlpi_addr + relocation->r_offset));
                }
            };
            walk(DT_JMPREL, DT_PLTRELSZ);
            walk(DT_RELA, DT_RELASZ);
            return 1;
        },
        &search);
}

struct MallocPlan {
    int calls = 0;
    int countdown = 0; // to the failing allocation; 0: none
    std::size_t size = 0;
} plan;

void *planned_malloc(std::size_t size) {
    ++plan.calls;
    if (plan.size == 0 || plan.size == size) {
        if (plan.countdown > 0 && --plan.countdown == 0) return nullptr;
    }
    return std::malloc(size);
}

std::time_t stopped_at = 0;

std::time_t stopped_time(std::time_t *out) {
    if (out != nullptr) *out = stopped_at;
    return stopped_at;
}

} // namespace

Interposed::Interposed(const char *symbol, void *replacement) : symbol_(symbol) {
    for_each_slot(symbol, [&](void **slot) {
        original_ = *slot;
        write_slot(slot, replacement);
    });
    if (original_ == nullptr) throw std::runtime_error(std::string("the library does not call ") + symbol);
}

Interposed::~Interposed() {
    for_each_slot(symbol_, [&](void **slot) { write_slot(slot, original_); });
}

FailingMalloc::FailingMalloc() : interposed_("malloc", reinterpret_cast<void *>(planned_malloc)) {
    plan = {};
}

FailingMalloc &FailingMalloc::fail_nth(int n, std::size_t size) {
    plan.countdown = n;
    plan.size = size;
    return *this;
}

void FailingMalloc::work_again() {
    plan.countdown = 0;
}

int FailingMalloc::calls() const {
    return plan.calls;
}

StoppedClock::StoppedClock(long seconds) : interposed_("time", reinterpret_cast<void *>(stopped_time)) {
    stopped_at = seconds;
}

} // namespace test
