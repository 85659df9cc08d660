// Graphviz runs in a child process with a time limit. Text of services reaches it only inside quotes of its language.
#include "explain/report/picture.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

#include "explain/dot.h"
#include "sim/child.h"

namespace explain {
namespace {

constexpr int kNotFound = 127; // as a shell reports it
constexpr off_t kMostBytes = 16 << 20;

struct Extent {
    std::size_t elements, dependencies;
};

Extent extent_of(const Elements &elements) {
    std::set<Key> shown;
    std::size_t dependencies = 0;
    for (const Element &element : elements.all()) {
        if (!element.dependencies.empty()) shown.insert(element.key);
        for (const Dependency &dependency : element.dependencies)
            shown.insert(dependency.on);
        dependencies += element.dependencies.size();
    }
    return {shown.size(), dependencies};
}

// A file in memory.
class Scratch {
  public:
    explicit Scratch(const char *name) : descriptor_(memfd_create(name, MFD_CLOEXEC)) {}
    ~Scratch() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    int descriptor() const { return descriptor_; }
    bool write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t written = ::write(descriptor_, text.data(), text.size());
            if (written <= 0) return false;
            text.remove_prefix(static_cast<std::size_t>(written));
        }
        return lseek(descriptor_, 0, SEEK_SET) == 0;
    }
    std::string contents() const {
        struct stat status = {};
        if (fstat(descriptor_, &status) != 0 || status.st_size > kMostBytes) return "";
        std::string text(static_cast<std::size_t>(status.st_size), '\0');
        return pread(descriptor_, text.data(), text.size(), 0) == status.st_size ? text : "";
    }

  private:
    int descriptor_;
};

[[noreturn]] void become(const char *program, const Scratch &dot, const Scratch &svg, pid_t parent) {
    sim::end_with_parent(parent);
    signal(SIGINT, SIG_DFL);
    dup2(dot.descriptor(), STDIN_FILENO);
    dup2(svg.descriptor(), STDOUT_FILENO);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) _exit(EXIT_FAILURE);
    execlp(program, program, "-Tsvg", "-Gfontname=sans-serif", static_cast<char *>(nullptr));
    _exit(errno == ENOENT ? kNotFound : EXIT_FAILURE);
}

// As poll: 1 if the child has ended, 0 if it took too long.
int wait_for(pid_t child, std::chrono::milliseconds time) {
    const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0)); // which glibc 2.36 declares for C only
    if (descriptor < 0) return -1;
    struct pollfd end = {descriptor, POLLIN, 0};
    const int result = poll(&end, 1, static_cast<int>(time.count()));
    close(descriptor);
    return result;
}

// Why there is no picture, by the status of a child that was not ended from here; empty if it was drawn.
std::string fault_of(int status) {
    if (WIFSIGNALED(status)) return std::string("Graphviz was ended by a signal: ") + strsignal(WTERMSIG(status)) + '.';
    if (WEXITSTATUS(status) == kNotFound)
        return "Graphviz is not installed. With the package graphviz, this page has a picture here.";
    return WEXITSTATUS(status) == 0 ? "" : "Graphviz failed with status " + std::to_string(WEXITSTATUS(status)) + '.';
}

// Why there is no picture; empty if it was drawn.
std::string run(const PictureBounds &bounds, const Scratch &dot, const Scratch &svg) {
    std::fflush(stdout); // or the child would print it too
    const pid_t parent = getpid(), child = fork();
    if (child < 0) return std::string("Graphviz could not be started: ") + std::strerror(errno) + '.';
    if (child == 0) become(bounds.program, dot, svg, parent);
    const int result = wait_for(child, bounds.time);
    if (result != 1) kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return "It is not known how Graphviz ended.";
    if (result == 0) return "Graphviz did not draw the picture within its time.";
    return result == 1 ? fault_of(status) : "Graphviz was interrupted.";
}

Picture absent(std::string why) {
    return {"", std::move(why)};
}

} // namespace

Picture draw(const Elements &elements, const Names &names, const PictureBounds &bounds) {
    const Extent extent = extent_of(elements);
    if (extent.dependencies == 0) return absent("No element waits for another one.");
    if (extent.elements > bounds.elements || extent.dependencies > bounds.dependencies)
        return absent("The picture would have " + std::to_string(extent.elements) + " elements and " +
                      std::to_string(extent.dependencies) +
                      " dependencies, too many to look at. \"explain graph level LEVEL\", \"explain graph service "
                      "NAME\" and \"explain graph around SERVICE ELEMENT STEPS\" write a part of it for Graphviz.");
    const Scratch dot("dot"), svg("svg");
    if (!dot.write(dot_of(elements, names, {}))) return absent("There was no room for the picture.");
    std::string fault = run(bounds, dot, svg);
    if (!fault.empty()) return absent(std::move(fault));
    std::string drawn = svg.contents();
    return drawn.empty() ? absent("The picture that Graphviz drew is too large.") : Picture{std::move(drawn), ""};
}

} // namespace explain
