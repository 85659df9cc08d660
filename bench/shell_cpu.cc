// Reports the CPU time of the whole shell process for "show running-config": on the built-in switch, and on a generated
// switch, by default with 2,000 interfaces and 20 services. Reports medians of several runs.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/program.h"

namespace {

// Runs a program with its output going to `output`. Returns its user and system time in milliseconds, children
// included.
double cpu_of(const std::vector<std::string> &words, const std::string &output) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out < 0 || dup2(out, STDOUT_FILENO) < 0) _exit(127);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(words[0] + " failed");
    }
    const auto milliseconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

void report(const char *what, const std::vector<std::string> &words, int runs) {
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(runs));
    for (int i = 0; i < runs; ++i)
        times.push_back(cpu_of(words, "/dev/null"));
    std::sort(times.begin(), times.end());
    std::printf("%-40s median %7.1f ms   min %7.1f   max %7.1f   (%d runs)\n", what, times[times.size() / 2],
                times.front(), times.back(), runs);
}

class TemporaryFile {
  public:
    TemporaryFile() {
        const int file = mkstemp(path_.data());
        if (file < 0) throw std::runtime_error("no temporary file");
        close(file);
    }
    ~TemporaryFile() { unlink(path_.c_str()); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &path() const { return path_; }

  private:
    std::string path_ = "/tmp/switch-XXXXXX";
};

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("shell_cpu", [&] {
        std::string folder = "build/release", interfaces = "2000", services = "20";
        int runs = 9;
        CLI::App app("CPU time of the shell's show running-config.", "shell_cpu");
        app.add_option("--build", folder, "build folder with the shell");
        app.add_option("--runs", runs, "runs of each command")->check(CLI::Range(1, 1000));
        app.add_option("--interfaces", interfaces, "of the generated switch");
        app.add_option("--services", services, "of the generated switch");
        CLI11_PARSE(app, argc, argv);

        const std::string shell = folder + "/shell/vsh";
        const TemporaryFile description;
        cpu_of({folder + "/bench/describe_switch", "--interfaces", interfaces, "--services", services},
               description.path());
        report("built-in switch", {shell, "-c", "show running-config"}, runs);
        report((interfaces + " interfaces, " + services + " services").c_str(),
               {shell, "-s", description.path(), "-c", "show running-config"}, runs);
        return 0;
    });
}
