// Reassembly of replies in msg_table_p. The first fragment of a service bounds its reply; data beyond that bound, or a
// bound without room for the status word, breaks the reply: its entry stays, without a buffer, until the last fragment
// finds nothing to hand over. A zeroed guard follows every buffer, so that the platform's readers find an empty array
// and terminated texts where a reply is too short.
#include <qarncli/reply_table.h>

#include <qarncli/globals.h>

#include <limits>

#include "base/bytes.h"
#include "collect/reply_table.h"

namespace qarn {
namespace {

// Room for the headers that a reader of TLV arrays looks at before it knows the array's size.
constexpr std::size_t kGuard = 64;
// Missing tails longer than this come zeroed from calloc.
constexpr std::size_t kLargeTail = 65536;

// The size of a reply's block, guard included; 0 where that is more than `Size` can hold.
template <typename Size>
constexpr Size block_size(uint32_t total_len) {
    constexpr auto kGuardBytes = static_cast<Size>(kGuard);
    return total_len <= std::numeric_limits<Size>::max() - kGuardBytes ? static_cast<Size>(total_len) + kGuardBytes : 0;
}
static_assert(block_size<uint32_t>(0xffffffffu - kGuard) == 0xffffffffu);
static_assert(block_size<uint32_t>(0xffffffffu - kGuard + 1) == 0, "a 32-bit size must not wrap to a small block");

qarn_msg_entry *find_entry(uint32_t sap) {
    return static_cast<qarn_msg_entry *>(g_hash_table_lookup(msg_table_p, &sap));
}

// Add an entry for the service, with the length that its first fragment announces; null if memory runs out.
qarn_msg_entry *add_entry(const qarn_cfg_frag &frag) {
    auto entry = allocate<qarn_msg_entry>();
    if (!entry) return nullptr;
    *entry = {frag.sap, frag.total_len, 0, nullptr};
    if (frag.total_len >= sizeof(qarn_cfg_reply)) {
        const auto size = block_size<std::size_t>(frag.total_len);
        if (size == 0) return nullptr; // more than this machine can address
        entry->buf = allocate<unsigned char>(size).release();
        if (entry->buf == nullptr) return nullptr;
    }
    g_hash_table_insert(msg_table_p, entry.get(), entry.get());
    return entry.release();
}

void break_reply(qarn_msg_entry &entry) {
    std::free(entry.buf);
    entry.buf = nullptr;
}

void append(qarn_msg_entry &entry, const qarn_cfg_frag &frag) {
    if (entry.buf == nullptr) return;
    if (frag.len > entry.total_len - entry.filled) return break_reply(entry);
    std::memcpy(static_cast<unsigned char *>(entry.buf) + entry.filled, frag.data, frag.len);
    entry.filled += frag.len;
}

// Zero what the service did not send, and the guard. A large missing tail is taken from the system as zero pages, so
// that a service that announces gigabytes does not use them up.
Malloced<unsigned char> with_zeroed_tail(Malloced<unsigned char> bytes, std::size_t filled, std::size_t size) {
    if (size - filled <= kLargeTail) {
        std::memset(bytes.get() + filled, 0, size - filled);
        return bytes;
    }
    Malloced<unsigned char> zeroed(static_cast<unsigned char *>(std::calloc(size, 1)));
    if (zeroed) std::memcpy(zeroed.get(), bytes.get(), filled);
    return zeroed;
}

} // namespace

JoinedReply take_reply(uint32_t sap) {
    JoinedReply reply;
    Malloced<qarn_msg_entry> entry(find_entry(sap));
    if (!entry) return reply;
    g_hash_table_remove(msg_table_p, &sap);
    reply.bytes.reset(static_cast<unsigned char *>(entry->buf));
    if (!reply.bytes) return reply;
    reply.size = entry->total_len;
    reply.filled = entry->filled;
    reply.bytes = with_zeroed_tail(std::move(reply.bytes), entry->filled, reply.size + kGuard);
    return reply;
}

} // namespace qarn

void qarn_msg_table_add(const qarn_cfg_frag *frag) {
    qarn_msg_entry *entry = qarn::find_entry(frag->sap);
    if (entry == nullptr) entry = qarn::add_entry(*frag);
    if (entry != nullptr) qarn::append(*entry, *frag);
}

void qarn_msg_table_get(uint32_t sap, void **reply) {
    *reply = qarn::take_reply(sap).bytes.release();
}
