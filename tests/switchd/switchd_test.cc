// switchd as a process: what it prints, what it leaves behind, and which beginnings it refuses.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "transport/nats_server.h"

namespace {

namespace fs = std::filesystem;

class Running {
  public:
    explicit Running(const std::string &arguments, const std::string &program = SWITCHD)
        : process_([&](int output) {
              dup2(output, STDOUT_FILENO);
              dup2(output, STDERR_FILENO);
              execl("/bin/sh", "sh", "-c", ("exec " + program + " " + arguments).c_str(), nullptr);
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
std::string result_of(const std::string &arguments, const std::string &program = SWITCHD) {
    Running process(arguments, program);
    const std::string text = process.wait_for(std::string(1, '\0'));
    return text + "status " + std::to_string(process.status());
}

std::string contents_of(const std::string &file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Switchd : public testing::Test {
  protected:
    Switchd() {
        setenv("XDG_RUNTIME_DIR", here_.c_str(), 1);
        std::ofstream(file_) << "name: empty\nservices: []\n";
        std::ofstream(one_) << "name: one\nservices:\n  - {name: ospf, sap: 20, uuid: 30}\n";
        std::ofstream(program_) << "#!/bin/sh\nexec " QARN_SERVICE " \"$@\"\n";
        chmod(program_.c_str(), 0700);
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
    const std::string file_ = here_ + "/empty.yaml", one_ = here_ + "/one.yaml", start_ = "-s " + file_,
                      program_ = here_ + "/program", start_one_ = "-s " + one_ + " --service-program " + program_;
};

TEST_F(Switchd, PrintsTheNextLineAndLeavesNothing) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        Running switchd(start_one_ + " --switch-name \"it's\"");
        const std::string line = switchd.wait_for("\n");
        ASSERT_EQ(folders().size(), 1u);
        EXPECT_EQ(line.substr(0, line.find("nats://")), "vsh -s " + one_ + " --connect ");
        EXPECT_EQ(contents_of(folders()[0] + "/connect"), line);
        EXPECT_EQ(line.substr(line.find(" --switch-name")),
                  " --switch-name 'it'\\''s' --credentials " + folders()[0] + "/shell.credentials\n");
        const std::vector<pid_t> children = switchd.children();
        EXPECT_EQ(children.size(), 2u); // the server and the service
        EXPECT_EQ(switchd.end(signal), 0);
        for (const pid_t child : children)
            EXPECT_FALSE(is_running(child));
        EXPECT_EQ(folders(), std::vector<std::string>());
    }
}

TEST_F(Switchd, LeavesNoProcessWhenItIsKilled) {
    Running killed(start_one_);
    killed.wait_for("\n");
    const std::vector<pid_t> children = killed.children();
    EXPECT_EQ(killed.end(SIGKILL), -SIGKILL);
    ASSERT_EQ(children.size(), 2u);
    for (const pid_t child : children)
        while (is_running(child)) // until the kernel has killed it
            sched_yield();

    fs::create_directory(here_ + "/switchd.noLock"); // as if it was killed before it made its lock
    chmod((here_ + "/switchd.noLock").c_str(), 0700);
    fs::last_write_time(here_ + "/switchd.noLock", fs::file_time_type::clock::now() - std::chrono::seconds(61));
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
    EXPECT_EQ(result_of(arguments), "switchd: the folder " + folder + " is in use by another switchd, pid " +
                                        std::to_string(first.pid()) +
                                        "; end that one, or name another folder\nstatus 1");
    const std::size_t begin = line.find("127.0.0.1"), end = line.find(' ', begin);
    const std::string busy =
        result_of(start_ + " --service-program /bin/true --listen " + line.substr(begin, end - begin));
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
        {start_ + program + " --folder " + file_, "switchd: " + file_ + " is no folder\nstatus 2"},
        {start_ + program + " --listen 127.0.0.1:65536",
         "switchd: --listen: needs HOST:PORT with a port from 0 to 65535, such as 10.0.0.5:4222 or [fd00::5]:4222, not "
         "\"127.0.0.1:65536\"; --help describes the options\nstatus 2"},
        {start_ + program + " --switch-name \"$(printf 'a\\tb')\"",
         "switchd: --switch-name: the name of a switch has no control characters; --help describes the options\n"
         "status 2"},
        {start_ + program + " --timeout-unit 0",
         "switchd: --timeout-unit: Value 0 not in range 1 to 60000; --help describes the options\nstatus 2"},
        {start_ + " --service-program /no/such",
         "switchd: cannot start /no/such, the program of services; name it with --service-program\nstatus 1"},
        {start_ + program + " ospf", "switchd: the switch has no service \"ospf\"\nstatus 2"},
        {"-s " + here_ + "/none" + program, "switchd: " + here_ + "/none: No such file or directory\nstatus 2"},
        {start_ + program + " --join nats://127.0.0.1:1",
         "switchd: cannot connect to nats://127.0.0.1:1: No server available for connection; check the address, and "
         "that nats-server runs there\nstatus 1"},
        {"-s " + one_ + " --service-program /bin/true",
         "switchd: service \"ospf\" (SAP 20) ended with status 0; it starts again in 1 s\n"
         "switchd: service \"ospf\" (SAP 20) ended with status 0; it starts again in 2 s\n"
         "switchd: service \"ospf\" (SAP 20) ended with status 0 3 times before it was registered; all services "
         "end; is /bin/true a qarn-service?\nstatus 1"},
    };
    for (const auto &[arguments, result] : cases)
        EXPECT_EQ(result_of(arguments), result);
    EXPECT_EQ(folders(), std::vector<std::string>{open});
}

TEST_F(Switchd, UsesAnotherAddressWithTlsOnly) {
    const std::string folder = here_ + "/folder", program = start_ + " --service-program /bin/true";
    const std::string arguments = program + " --listen 0.0.0.0:0 --folder " + folder;
    Running first(arguments);
    const std::string line = first.wait_for("\n");
    const std::size_t port = line.find(':', line.find("--connect tls://") + 16);
    ASSERT_NE(port, std::string::npos) << line;
    const std::string url = "tls://127.0.0.1" + line.substr(port, line.find(' ', port) - port), copy = here_ + "/copy";
    fs::copy(folder, copy, fs::copy_options::recursive);
    Running second(program + " --join " + url + " --credentials " + copy);
    EXPECT_EQ(second.wait_for("\n"),
              "vsh -s " + file_ + " --connect " + url + " --credentials " + copy + "/shell.credentials\n");
    EXPECT_EQ(second.end(SIGTERM), 0);

    fs::remove(copy + "/shell.credentials");
    Running third(program + " --join " + url + " --credentials " + copy);
    EXPECT_NE(third.wait_for("shell.credentials does not exist").find("does not exist"), std::string::npos);
    const std::string bare = copy + "/bare.credentials";
    std::ofstream(bare) << "ca ca.pem\n";
    chmod(bare.c_str(), 0600);
    const std::string refused = result_of("--connect " + url + " --credentials " + bare + " -c 'show services'", VSH);
    EXPECT_EQ(refused.find("vsh: cannot connect to " + url), 0u) << refused;
    EXPECT_NE(first.wait_for("provide a certificate").find("client didn't provide a certificate"), std::string::npos);
    EXPECT_EQ(first.end(SIGTERM), 0);

    fs::remove(folder + "/ca.key");
    fs::remove(folder + "/shell.key");
    EXPECT_EQ(result_of(arguments), "switchd: TLS is not complete: " + folder +
                                        "/shell.pem: its key cannot be read; put shell.pem and shell.key there, or "
                                        "ca.key, with which they are made\nstatus 1");
    const std::string path = getenv("PATH");
    setenv("PATH", here_.c_str(), 1);
    EXPECT_EQ(result_of(arguments),
              "switchd: another address than the loopback needs TLS, and the program openssl is missing: install the "
              "package openssl, or listen on 127.0.0.1\nstatus 1");
    setenv("PATH", path.c_str(), 1);
}

// What vsh says of the switch, by the line that switchd prints.
std::string shown(const std::string &line) {
    return result_of(line.substr(line.find(' '), line.find('\n') - line.find(' ')) + " -c 'show running-config'", VSH);
}

TEST_F(Switchd, StartsADeadServiceAgain) {
    std::ofstream(one_, std::ios::app) << "  - {name: vlan, sap: 21, uuid: 31}\n";
    Running switchd(start_one_);
    const std::string line = switchd.wait_for("\n");
    EXPECT_TRUE(shown(line).ends_with("status 0")) << shown(line);
    const std::vector<pid_t> children = switchd.children(); // the server and the services
    ASSERT_EQ(children.size(), 3u);
    chmod(program_.c_str(), 0); // it cannot start
    kill(children[1], SIGKILL);
    EXPECT_EQ(switchd.wait_for("\n"),
              "switchd: service \"ospf\" (SAP 20) ended with signal 9; it starts again in 1 s\n");
    const std::string incomplete = shown(line); // at once
    EXPECT_NE(incomplete.find("incomplete: ospf (SAP 20)"), std::string::npos) << incomplete;
    EXPECT_TRUE(incomplete.ends_with("status 3")) << incomplete;
    EXPECT_EQ(switchd.wait_for("\n"), "switchd: service \"ospf\" (SAP 20): cannot start " + program_ +
                                          ": Permission denied; it starts again in 2 s\n");
    chmod(program_.c_str(), 0700);
    while (!shown(line).ends_with("status 0")) // until it is there again
        sched_yield();
    kill(children[0], SIGKILL);
    EXPECT_NE(switchd.wait_for("all services end").find("nats-server ended with signal 9; all services end"),
              std::string::npos);
    EXPECT_EQ(switchd.status(), 1);
}

TEST_F(Switchd, RefusesAnotherMachineWithoutTls) {
    const std::string url = "nats://192.0.2.1:4222",
                      reason = ": " + url +
                               " is another machine, which needs TLS: use tls://, and credentials with the lines ca, "
                               "certificate and key\nstatus ";
    EXPECT_EQ(result_of(start_one_ + " --join " + url), "switchd" + reason + "1");
    EXPECT_EQ(result_of("-s " + one_ + " --connect " + url, QARN_SERVICE), "qarn-service" + reason + "1");
    EXPECT_EQ(result_of("--connect " + url + " -c 'show services'", VSH), "vsh" + reason + "1");
}

} // namespace
