// The processes speak over a pair of sockets. Each reply goes to the trial as its SAP, its size and its bytes; the end
// of what is sent is the end of the replies. The text comes back with a mark after it, without which it is not whole.
#include "explain/check/trial.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "sim/child.h"

namespace explain {
namespace {

constexpr char kWhole = '!';

std::string read_all(int socket) {
    std::string all;
    char block[65536];
    while (true) {
        const ssize_t size = ::read(socket, block, sizeof block);
        if (size > 0) all.append(block, static_cast<std::size_t>(size));
        if (size == 0) return all;
        if (size < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "a trial");
    }
}

void write_all(int socket, std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (size < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "a trial");
        if (size > 0) text.remove_prefix(static_cast<std::size_t>(size));
    }
}

template <typename Number>
void append(std::string &bytes, Number number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof number);
}

template <typename Number>
Number take(std::string_view &bytes) {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    bytes.remove_prefix(sizeof number);
    return number;
}

Replies replies_in(std::string_view bytes) {
    Replies replies;
    while (!bytes.empty()) {
        const auto sap = take<uint32_t>(bytes);
        const auto size = take<uint64_t>(bytes);
        replies.emplace_back(sap, bytes.substr(0, size));
        bytes.remove_prefix(size);
    }
    return replies;
}

[[noreturn]] void run(int socket, const std::function<std::string(const Replies &)> &display) {
    int status = 1;
    try {
        const std::string bytes = read_all(socket);
        if (!bytes.empty()) write_all(socket, display(replies_in(bytes)) + kWhole);
        status = 0;
    } catch (const std::exception &) { // the text is not whole, which says enough
    }
    ::_exit(status);
}

} // namespace

Trial::Trial(const std::function<std::string(const Replies &)> &display) {
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    const pid_t parent = ::getpid();
    process_ = ::fork();
    if (process_ == 0) {
        sim::end_with_parent(parent);
        ::close(sockets[0]);
        run(sockets[1], display);
    }
    ::close(sockets[1]);
    socket_ = sockets[0];
    if (process_ < 0) {
        ::close(socket_);
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

Trial::~Trial() {
    ::close(socket_);
    ::kill(process_, SIGKILL);
    while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

std::string Trial::text(const Replies &replies) const {
    std::string bytes;
    for (const auto &[sap, reply] : replies) {
        append(bytes, sap);
        append(bytes, static_cast<uint64_t>(reply.size()));
        bytes += reply;
    }
    write_all(socket_, bytes);
    ::shutdown(socket_, SHUT_WR);
    std::string text = read_all(socket_);
    if (text.empty() || text.back() != kWhole)
        throw std::runtime_error("the display has ended too early with its replies in another order");
    text.pop_back();
    return text;
}

} // namespace explain
