// Collects the configurations of a fleet of simulated switches, which are processes behind one NATS server. Reports the
// time from start to end, and the CPU time of the collecting shell, for several sizes of the fleet.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/program.h"
#include "bench/run.h"

namespace {

struct Settings {
    std::string folder = "build/release", interfaces = "48", services = "14", jobs = {};
    std::vector<int> sizes = {50, 100, 200};
    int runs = 3;
};

class TemporaryFolder {
  public:
    TemporaryFolder() {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder");
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return path_; }

  private:
    std::string path_ = "/tmp/bench-XXXXXX";
};

// One NATS server, and one process for each switch with all its services.
class Fleet {
  public:
    Fleet(const Settings &settings, std::string description)
        : settings_(settings), description_(std::move(description)) {
        const std::string before = "client connections on ";
        for (std::string line = engine_.next_line(); line.find("Server is ready") == std::string::npos;
             line = engine_.next_line())
            if (const auto at = line.find(before); at != std::string::npos) url_ = line.substr(at + before.size());
    }

    void grow(int size) {
        for (int i = static_cast<int>(switches_.size()); i < size; ++i)
            switches_.emplace_back(bench::Words{settings_.folder + "/shell/qarn-service", "-s", description_,
                                                "--connect", url_, "--switch-name", "switch-" + std::to_string(i),
                                                "--ready-fd", "1"});
        for (; num_ready_ < switches_.size(); ++num_ready_)
            switches_[num_ready_].next_line();
    }

    bench::Cost collect() const {
        const TemporaryFolder folder;
        bench::Words words = {settings_.folder + "/shell/vsh",
                              "--connect",
                              url_,
                              "-s",
                              description_,
                              "--each-switch",
                              folder.path(),
                              "-c",
                              "show running-config"};
        if (!settings_.jobs.empty()) words.insert(words.end(), {"--jobs", settings_.jobs});
        const bench::Cost cost = bench::run(words);
        for (std::size_t i = 0; i < switches_.size(); ++i)
            check_text(folder.path() + "/switch-" + std::to_string(i) + ".cfg");
        return cost;
    }

  private:
    void check_text(const std::string &path) const {
        const auto size = std::filesystem::file_size(path);
        if (size < 1000) throw std::runtime_error(path + " has only " + std::to_string(size) + " bytes");
    }

    const Settings &settings_;
    std::string description_, url_;
    TemporaryFolder store_;
    bench::Server engine_{
        {"/usr/sbin/nats-server", "-a", "127.0.0.1", "-p", "-1", "-js", "-sd", store_.path(), "-l", "/dev/stdout"}};
    std::deque<bench::Server> switches_;
    std::size_t num_ready_ = 0;
};

void report(const Fleet &fleet, int size, int runs) {
    std::vector<double> walls, cpus;
    for (int i = 0; i < runs; ++i) {
        const bench::Cost cost = fleet.collect();
        walls.push_back(cost.wall);
        cpus.push_back(cost.cpu);
    }
    const double wall = bench::median_of(walls), cpu = bench::median_of(cpus);
    std::printf(
        "%5d switches: wall %8.1f ms, %6.2f ms a switch; CPU of the shell %8.1f ms, %6.2f ms a switch   "
        "(medians of %d runs)\n",
        size, wall, wall / size, cpu, cpu / size, runs);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv) {
    return bench::run_program("fleet", [&] {
        Settings settings;
        CLI::App app("Cost of collecting the configurations of many switches.", "fleet");
        app.add_option("--build", settings.folder, "build folder with the shell");
        app.add_option("--sizes", settings.sizes, "numbers of switches, growing")->delimiter(',');
        app.add_option("--interfaces", settings.interfaces, "of each switch");
        app.add_option("--services", settings.services, "of each switch, besides the interface service");
        app.add_option("--jobs", settings.jobs, "switches at a time");
        app.add_option("--runs", settings.runs, "for each size")->check(CLI::Range(1, 1000));
        CLI11_PARSE(app, argc, argv);

        const bench::TemporaryFile description;
        bench::run({settings.folder + "/bench/describe_switch", "--interfaces", settings.interfaces, "--services",
                    settings.services},
                   description.path());
        Fleet fleet(settings, description.path());
        for (const int size : settings.sizes) {
            fleet.grow(size);
            report(fleet, size, settings.runs);
        }
        return 0;
    });
}
