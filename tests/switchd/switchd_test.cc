// switchd as a process: what it prints, what it leaves behind, and which beginnings it refuses.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "nats/connection.h"
#include "nats/registry.h"
#include "transport/nats_server.h"

namespace {

namespace fs = std::filesystem;

class Running {
  public:
    explicit Running(const std::string &arguments)
        : process_([&](int output) {
              dup2(output, STDOUT_FILENO);
              dup2(output, STDERR_FILENO);
              execl("/bin/sh", "sh", "-c", ("exec " SWITCHD " " + arguments).c_str(), nullptr);
          }) {}

    std::string wait_for(const std::string &text) const { return process_.wait_for(text); }
    pid_t pid() const { return process_.pid(); }
    int status() const {
        int status = 0;
        waitpid(pid(), &status, 0);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    int end(int signal) const {
        kill(pid(), signal);
        return status();
    }
    std::vector<pid_t> children() const {
        std::ifstream list("/proc/" + std::to_string(pid()) + "/task/" + std::to_string(pid()) + "/children");
        return {std::istream_iterator<pid_t>(list), {}};
    }

  private:
    test::Process process_;
};

bool is_running(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stat, text);
    return !text.empty() && text[text.rfind(')') + 2] != 'Z';
}

// All that it writes, and its status.
std::string refused(const std::string &arguments) {
    Running switchd(arguments);
    const std::string text = switchd.wait_for(std::string(1, '\0'));
    return text + "status " + std::to_string(switchd.status());
}

class Switchd : public testing::Test {
  protected:
    Switchd() {
        setenv("XDG_RUNTIME_DIR", here_.c_str(), 1);
        std::ofstream(file_) << "name: empty\nservices: []\n";
        std::ofstream(one_) << "name: one\nservices:\n  - {name: ospf, sap: 20, uuid: 30}\n";
    }
    ~Switchd() override { fs::remove_all(here_); }

    std::vector<std::string> folders() const {
        std::vector<std::string> found;
        for (const auto &entry : fs::directory_iterator(here_))
            if (entry.is_directory()) found.push_back(entry.path());
        return found;
    }

    const std::string here_ = [] {
        std::string path = fs::temp_directory_path() / "switchd-test.XXXXXX";
        return std::string(mkdtemp(path.data()));
    }();
    const std::string file_ = here_ + "/empty.yaml", one_ = here_ + "/one.yaml", start_ = "-s " + file_;
};

TEST_F(Switchd, PrintsTheNextLineAndLeavesNothing) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Running switchd(start_ + " --switch-name \"it's\" --service-program /bin/true");
        const std::string line = switchd.wait_for("\n");
        ASSERT_EQ(folders().size(), 1u);
        EXPECT_EQ(line.substr(0, line.find("nats://")), "vsh -s " + file_ + " --connect ");
        EXPECT_EQ(line.substr(line.find(" --switch-name")),
                  " --switch-name 'it'\\''s' --credentials " + folders()[0] + "/shell.credentials\n");
        const std::vector<pid_t> children = switchd.children();
        EXPECT_EQ(children.size(), 1u);
        EXPECT_EQ(switchd.end(signal), 0);
        EXPECT_FALSE(is_running(children.at(0)));
        EXPECT_EQ(folders(), std::vector<std::string>());
    }
}

TEST_F(Switchd, LeavesNoProcessWhenItIsKilled) {
    Running killed(start_ + " --service-program /bin/true");
    killed.wait_for("\n");
    const std::vector<pid_t> children = killed.children();
    EXPECT_EQ(killed.end(SIGKILL), -SIGKILL);
    ASSERT_EQ(children.size(), 1u);
    while (is_running(children[0])) // until the kernel has killed it
        sched_yield();

    const std::vector<std::string> left = folders();
    Running next(start_ + " --service-program /bin/true");
    next.wait_for("\n");
    EXPECT_EQ(folders().size(), 1u); // the next one removes what was left
    EXPECT_NE(folders(), left);
    EXPECT_EQ(next.end(SIGTERM), 0);
}

TEST_F(Switchd, RefusesAFolderThatAnotherOneUses) {
    const std::string folder = here_ + "/folder",
                      arguments = start_ + " --service-program /bin/true --folder " + folder;
    Running first(arguments);
    const std::string line = first.wait_for("\n");
    EXPECT_EQ(refused(arguments), "switchd: the folder " + folder + " is in use by another switchd, pid " +
                                      std::to_string(first.pid()) + "; end that one, or name another folder\nstatus 1");
    const std::size_t begin = line.find("127.0.0.1"), end = line.find(' ', begin);
    const std::string busy =
        refused(start_ + " --service-program /bin/true --listen " + line.substr(begin, end - begin));
    EXPECT_NE(busy.find("another program uses the port: end it, or name another port with --listen\nstatus 1"),
              std::string::npos)
        << busy;
    EXPECT_EQ(first.end(SIGTERM), 0);
    EXPECT_FALSE(fs::exists(folder + "/jetstream"));
    for (const auto &entry : fs::directory_iterator(folder))
        EXPECT_EQ(fs::status(entry.path()).permissions() & fs::perms(077), fs::perms::none) << entry.path();
}

TEST_F(Switchd, RefusesWhatItCannotStart) {
    const std::string open = here_ + "/open", program = " --service-program /bin/false";
    fs::create_directory(open);
    chmod(open.c_str(), 0750);
    const struct {
        std::string arguments, result;
    } cases[] = {
        {start_ + program + " --folder " + open,
         "switchd: others have access to the folder " + open + "; change that with chmod 700\nstatus 1"},
        {start_ + program + " --listen here",
         "switchd: cannot listen on \"here\"; --listen needs HOST:PORT, such as 10.0.0.5:4222\nstatus 1"},
        {start_ + " --service-program /no/such",
         "switchd: cannot start /no/such, the program of services; name it with --service-program\nstatus 1"},
        {start_ + program + " ospf", "switchd: the switch has no service \"ospf\"\nstatus 1"},
        {"-s " + here_ + "/none" + program, "switchd: " + here_ + "/none: No such file or directory\nstatus 2"},
        {start_ + program + " --join nats://127.0.0.1:1",
         "switchd: cannot connect to nats://127.0.0.1:1: No server available for connection; check the address, and "
         "that nats-server runs there\nstatus 1"},
        {"-s " + one_ + program,
         "switchd: service \"ospf\" (SAP 20) ended with status 1; it starts again in 1 s\n"
         "switchd: service \"ospf\" (SAP 20) ended with status 1; it starts again in 2 s\n"
         "switchd: service \"ospf\" (SAP 20) ended with status 1 3 times before it was registered; all services "
         "end\nstatus 1"},
    };
    for (const auto &[arguments, result] : cases)
        EXPECT_EQ(refused(arguments), result);
    EXPECT_EQ(folders(), std::vector<std::string>{open});
}

TEST_F(Switchd, UsesAnotherAddressWithTlsOnly) {
    const std::string folder = here_ + "/folder", program = start_ + " --service-program /bin/true";
    const std::string arguments = program + " --listen 0.0.0.0:0 --folder " + folder;
    Running first(arguments);
    const std::string line = first.wait_for("\n");
    const std::size_t port = line.find(':', line.find("--connect tls://") + 16);
    ASSERT_NE(port, std::string::npos) << line;
    const std::string url = "tls://localhost" + line.substr(port, line.find(' ', port) - port), copy = here_ + "/copy";
    fs::copy(folder, copy, fs::copy_options::recursive);
    Running second(program + " --join " + url + " --credentials " + copy);
    EXPECT_EQ(second.wait_for("\n"),
              "vsh -s " + file_ + " --connect " + url + " --credentials " + copy + "/shell.credentials\n");
    EXPECT_EQ(second.end(SIGTERM), 0);
    EXPECT_EQ(first.end(SIGTERM), 0);

    fs::remove(folder + "/ca.key");
    fs::remove(folder + "/shell.key");
    EXPECT_EQ(refused(arguments), "switchd: TLS is not complete: " + folder +
                                      "/shell.pem: its key cannot be read; put shell.pem and shell.key there, or "
                                      "ca.key, with which they are made\nstatus 1");
    const std::string path = getenv("PATH");
    setenv("PATH", here_.c_str(), 1);
    EXPECT_EQ(refused(arguments),
              "switchd: another address than the loopback needs TLS, and the program openssl is missing: install the "
              "package openssl, or listen on 127.0.0.1\nstatus 1");
    setenv("PATH", path.c_str(), 1);
}

#ifdef QARN_SERVICE
TEST_F(Switchd, StartsADeadServiceAgain) {
    Running switchd("-s " + one_ + " --service-program " QARN_SERVICE);
    const std::string line = switchd.wait_for("\n"), url = line.substr(line.find("nats://"));
    const nats::Connection shell = nats::connect({.url = url.substr(0, url.find(' ')),
                                                  .credentials = folders().at(0) + "/shell.credentials",
                                                  .client_name = "shell"},
                                                 nats::Reconnects::kNo);
    nats::Registry registry(shell.get(), nats::Registry::Missing::kIsEmpty);
    const auto is_registered = [&registry] { return registry.list_all().at(0).is_registered; };
    EXPECT_TRUE(is_registered());
    const std::vector<pid_t> children = switchd.children(); // the server and the service
    ASSERT_EQ(children.size(), 2u);
    kill(children[1], SIGKILL);
    EXPECT_EQ(switchd.wait_for("\n"),
              "switchd: service \"ospf\" (SAP 20) ended with signal 9; it starts again in 1 s\n");
    EXPECT_FALSE(is_registered()); // at once
    while (!is_registered())       // until it is there again
        sched_yield();
    EXPECT_EQ(switchd.end(SIGTERM), 0);
}
#endif

} // namespace
