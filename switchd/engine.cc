#include "switchd/engine.h"

#include <poll.h>

#include <charconv>
#include <chrono>
#include <iterator>

#include "nats/objects.h"
#include "switchd/configuration.h"
#include "switchd/report.h"
#include "switchd/signals.h"

namespace switchd {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(10); // for a server that starts

pid_t start_server(const std::string &configuration, const Descriptor &log) {
    const auto program = find_program("nats-server");
    if (!program)
        throw nats::Error(
            "nats-server is not installed; install the package nats-server, or name another machine's "
            "with --join");
    return start({*program, "-c", configuration}, {{log.get(), STDOUT_FILENO}, {log.get(), STDERR_FILENO}});
}

std::string advice_for(const std::string &error) {
    if (error.find("address already in use") != std::string::npos)
        return "; another program uses the port: end it, or name another port with --listen";
    if (error.find("cannot assign requested address") != std::string::npos)
        return "; this machine does not have the address of --listen";
    return "";
}

} // namespace

Engine::Engine(const Folder &folder) : folder_(folder) {
    folder.remove(kJetStream);
    Pipe log = new_pipe();
    pid_ = start_server(folder.path_of(kConfiguration), log.write);
    log_ = std::move(log.read);
    log.write.close();
    try {
        wait_until_ready();
    } catch (...) {
        stop();
        throw;
    }
}

Engine::~Engine() {
    stop();
}

void Engine::stop() {
    if (pid_ > 0) end({pid_});
    folder_.remove(kJetStream);
}

void Engine::wait_until_ready() {
    const Clock::time_point limit = Clock::now() + kPatience;
    const Descriptor signals = descriptor_of_signals(Children::kIgnored);
    while (!is_ready_) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
        struct pollfd awaited[] = {{.fd = log_.get(), .events = POLLIN, .revents = 0},
                                   {.fd = signals.get(), .events = POLLIN, .revents = 0}};
        if (left <= 0 || poll(awaited, std::size(awaited), static_cast<int>(left)) == 0)
            throw nats::Error("nats-server does not get ready");
        if (awaited[1].revents != 0) throw Ended();
        if (!read_log())
            throw nats::Error("nats-server cannot start" + (error_.empty() ? "" : ": " + error_) + advice_for(error_));
    }
}

bool Engine::read_log() {
    char part[4096];
    const ssize_t size = read(log_.get(), part, sizeof part);
    if (size <= 0) {
        log_.close();
        return false;
    }
    rest_.append(part, static_cast<std::size_t>(size));
    take_lines();
    return true;
}

void Engine::has_ended() {
    pid_ = -1;
    while (read_log()) {
    }
}

void Engine::take_lines() {
    for (std::size_t end = 0; (end = rest_.find('\n')) != std::string::npos; rest_.erase(0, end + 1))
        take(rest_.substr(0, end));
}

void Engine::take(const std::string &line) {
    constexpr char kListening[] = "Listening for client connections on ";
    if (line.find(kListening) != std::string::npos) {
        const std::string port = line.substr(line.rfind(':') + 1);
        std::from_chars(port.data(), port.data() + port.size(), port_);
    }
    is_ready_ = is_ready_ || line.find("Server is ready") != std::string::npos;
    for (const char *kind : {"[ERR] ", "[FTL] ", "nats-server: "}) {
        const std::size_t at = line.find(kind);
        if (at == std::string::npos) continue;
        error_ = line.substr(at + std::char_traits<char>::length(kind));
        if (is_ready_) report("nats-server: " + error_);
    }
}

} // namespace switchd
