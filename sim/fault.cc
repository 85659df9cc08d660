#include "sim/fault.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

#include <qarncli/message.h>

#include "sim/mts.h"

namespace sim {

// A memory file has no limit of size that a request could exceed. All access is by position, because the processes
// share the file's offset too.
LastRequest::LastRequest() : file_(::memfd_create("last-request", MFD_CLOEXEC)) {
    if (file_ < 0) throw std::system_error(errno, std::generic_category());
}

LastRequest::~LastRequest() {
    ::close(file_);
}

Bytes LastRequest::replace(const Bytes &request) const {
    const off_t size = ::lseek(file_, 0, SEEK_END);
    Bytes before(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
    if (::pread(file_, before.data(), before.size(), 0) != size) before.clear();
    const bool is_kept = ::ftruncate(file_, 0) == 0 &&
                         ::pwrite(file_, request.data(), request.size(), 0) == static_cast<ssize_t>(request.size());
    if (!is_kept) throw std::system_error(errno, std::generic_category());
    return before;
}

void damage(const Faults &faults, Bytes &reply) {
    constexpr std::size_t kCountAt = offsetof(qarn_cfg_reply, tlvs); // the first word of the array
    if (faults.count && reply.size() >= kCountAt + sizeof *faults.count)
        std::memcpy(reply.data() + kCountAt, &*faults.count, sizeof *faults.count);
    if (faults.cut && *faults.cut < reply.size()) reply.resize(*faults.cut);
}

void disturb(const Faults &faults, uint64_t now, std::deque<Message> &answer) {
    if (faults.twice) {
        const std::deque<Message> again = answer;
        answer.insert(answer.end(), again.begin(), again.end());
    }
    if (faults.die_after != 0 && faults.die_after < answer.size())
        answer.erase(answer.begin() + faults.die_after, answer.end());
    uint64_t due = now + faults.delay;
    for (Message &message : answer) {
        message.due = due;
        due += faults.drip;
    }
}

} // namespace sim
