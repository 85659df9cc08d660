// Reports the CPU time of the whole shell process for "show running-config": on the built-in switch, and on a generated
// switch, by default with 2,000 interfaces and 20 services, there also with each filter. Reports medians of several
// runs.
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

struct Measured {
    std::string what;
    std::vector<std::string> words;
    std::vector<double> times = {};
};

double median_of(const Measured &measured) {
    std::vector<double> times = measured.times;
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// The runs of the commands alternate. Ratios are to the first command.
void measure(std::vector<Measured> commands, int runs) {
    for (int i = 0; i < runs; ++i)
        for (Measured &command : commands)
            command.times.push_back(cpu_of(command.words, "/dev/null"));
    for (const Measured &command : commands) {
        const auto [least, most] = std::minmax_element(command.times.begin(), command.times.end());
        std::printf("%-40s median %7.1f ms   min %7.1f   max %7.1f   x%.2f   (%d runs)\n", command.what.c_str(),
                    median_of(command), *least, *most, median_of(command) / median_of(commands.front()), runs);
    }
}

// Most of them match in many lines of the generated switch.
constexpr const char *kFilters[] = {"include description",
                                    "include service-1[0-9] ",
                                    "include (?i)SETTING",
                                    "include .",
                                    "exclude service-[0-9]+ on",
                                    "section Ethernet1/777$",
                                    "begin service-1$",
                                    "head 3",
                                    "count",
                                    "json"};

std::vector<Measured> filtered(const std::vector<std::string> &plain, const std::string &what) {
    std::vector<Measured> commands = {{what, plain}};
    for (const char *const filter : kFilters) {
        commands.push_back({std::string("  | ") + filter, plain});
        commands.back().words.back() += std::string(" | ") + filter;
    }
    return commands;
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
        measure({{"built-in switch", {shell, "-c", "show running-config"}}}, runs);
        measure(filtered({shell, "-s", description.path(), "-c", "show running-config"},
                         interfaces + " interfaces, " + services + " services"),
                runs);
        return 0;
    });
}
