#include "explain/recording/saved_text.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "sim/store.h"

namespace explain::recording {
namespace {

namespace fs = std::filesystem;

// What the keeper says: the folder, or the errno.
struct Made {
    int error;
    char path[PATH_MAX];
};

// No signal ends a process that is made meanwhile.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

  private:
    sigset_t before_ = {};
};

// It holds nothing open but the connection, or readers of the owner's output would wait for the keeper too.
[[noreturn]] void keep(int connection, Made &made, const char *text) {
    setsid();
    dup2(connection, STDIN_FILENO);
    close_range(STDIN_FILENO + 1, UINT_MAX, 0);
    if (mkdtemp(made.path) == nullptr || chdir(made.path) != 0) made.error = errno;
    send(STDIN_FILENO, &made, sizeof made, MSG_NOSIGNAL);
    char end = 0;
    while (made.error == 0 && recv(STDIN_FILENO, &end, sizeof end, 0) < 0 && errno == EINTR) {
    }
    if (made.error == 0) unlink(text);
    rmdir(made.path); // nothing, if it was not made
    _exit(EXIT_SUCCESS);
}

[[noreturn]] void fail(const std::string &what, const std::string &path, int error) {
    throw std::runtime_error("cannot " + what + ' ' + path + ": " + std::strerror(error));
}

} // namespace

KeptFolder::KeptFolder() : path_(fs::absolute(fs::temp_directory_path() / "vsh-replay-XXXXXX").string()) {
    start_keeper();
    try {
        receive_path();
    } catch (const std::runtime_error &) {
        end_keeper();
        throw;
    }
}

KeptFolder::~KeptFolder() {
    end_keeper();
}

void KeptFolder::start_keeper() {
    Made made = {};
    if (path_.size() >= sizeof made.path) fail("make a folder", path_, ENAMETOOLONG);
    path_.copy(made.path, path_.size());
    const std::string text = fs::path(sim::text_path(path_)).filename();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) fail("make a folder", path_, errno);
    std::fflush(stdout);
    const SignalsHeld held;
    keeper_ = fork();
    if (keeper_ == 0) keep(ends[1], made, text.c_str());
    const int error = errno;
    close(ends[1]);
    connection_ = ends[0];
    if (keeper_ > 0) return;
    close(connection_);
    fail("make a folder", path_, error);
}

void KeptFolder::receive_path() {
    Made made = {};
    ssize_t received = 0;
    do
        received = recv(connection_, &made, sizeof made, 0);
    while (received < 0 && errno == EINTR);
    if (received != sizeof made) made.error = ECHILD;
    if (made.error != 0) fail("make a folder", path_, made.error);
    path_ = made.path;
}

// Shut, not only closed, because other processes may have the connection too.
void KeptFolder::end_keeper() const {
    shutdown(connection_, SHUT_RDWR);
    close(connection_);
    while (waitpid(keeper_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

SavedText::SavedText(const std::string &text) {
    const std::string path = sim::text_path(folder_.path());
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) fail("write", path, errno);
}

} // namespace explain::recording
