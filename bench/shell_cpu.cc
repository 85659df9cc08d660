// Reports the CPU time of "show running-config" typed into the shell, whole process: on the built-in switch, and on the
// generated one with 2,000 interfaces and 20 services (or another description). Medians of several runs.
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

namespace {

// Run a program with its output going to `output`; its user and system time in milliseconds, children included.
double cpu_of(const std::vector<std::string> &words, const std::string &output) {
    std::vector<char *> arguments;
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
    for (int i = 0; i < runs; ++i)
        times.push_back(cpu_of(words, "/dev/null"));
    std::sort(times.begin(), times.end());
    std::printf("%-40s median %7.1f ms   min %7.1f   max %7.1f   (%d runs)\n", what, times[times.size() / 2],
                times.front(), times.back(), runs);
}

} // namespace

int main(int argc, char **argv) {
    std::string folder = "build/release";
    int runs = 9, interfaces = 2000, services = 20;
    CLI::App app("CPU time of the shell's show running-config.", "shell_cpu");
    app.add_option("--build", folder, "build folder with the shell");
    app.add_option("--runs", runs, "runs of each command")->check(CLI::Range(1, 1000));
    app.add_option("--interfaces", interfaces, "of the generated switch");
    app.add_option("--services", services, "of the generated switch");
    CLI11_PARSE(app, argc, argv);

    char description[] = "/tmp/switch-XXXXXX";
    close(mkstemp(description));
    try {
        const std::string shell = folder + "/shell/vsh";
        cpu_of({folder + "/bench/describe_switch", "--interfaces", std::to_string(interfaces), "--services",
                std::to_string(services)},
               description);
        report("built-in switch", {shell, "-c", "show running-config"}, runs);
        report((std::to_string(interfaces) + " interfaces, " + std::to_string(services) + " services").c_str(),
               {shell, "-s", description, "-c", "show running-config"}, runs);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "shell_cpu: %s\n", error.what());
        unlink(description);
        return 1;
    }
    unlink(description);
    return 0;
}
