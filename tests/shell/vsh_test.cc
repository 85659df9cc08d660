// The shell as a user meets it: a program with arguments, standard input and output, and an exit status. The whole
// configuration of the built-in switch is compared with a text in tests/golden.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string contents(const std::string &path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// A file that goes with the test.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &text = "") {
        close(mkstemp(path_));
        std::ofstream(path_) << text;
    }
    ~TemporaryFile() { unlink(path_); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    const char *path() const { return path_; }

  private:
    char path_[32] = "/tmp/vsh-test-XXXXXX";
};

struct Result {
    int status;
    std::string out, err;
};

// Start the shell in a process group of its own, its output going to `out`.
pid_t start(const std::vector<std::string> &arguments, const char *in, int out, const char *err) {
    std::vector<char *> words = {const_cast<char *>(VSH)};
    for (const std::string &argument : arguments)
        words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    setpgid(0, 0);
    dup2(open(in, O_RDONLY), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(open(err, O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    execv(VSH, words.data());
    _exit(127);
}

int exit_status(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

Result vsh(const std::vector<std::string> &arguments, const std::string &input = "") {
    const TemporaryFile in(input), out, err;
    const int file = open(out.path(), O_WRONLY | O_TRUNC);
    const pid_t child = start(arguments, in.path(), file, err.path());
    close(file);
    const int status = exit_status(child);
    return {status, contents(out.path()), contents(err.path())};
}

Result type(const std::string &command) {
    return vsh({"-c", command});
}

std::string without_time(std::string text) {
    const std::size_t at = text.find("!Time: ");
    return at == std::string::npos ? text : text.replace(at, text.find('\n', at) - at, "!Time: now");
}

std::string body_of(const std::string &text) {
    return text.substr(text.find("\nversion "));
}

void expect_golden(const std::string &text, const std::string &name) {
    const std::string path = std::string(GOLDEN) + "/" + name;
    if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(path) << without_time(text);
    EXPECT_EQ(without_time(text), contents(path));
}

TEST(Shell, ShowsTheWholeConfigurationOfTheBuiltInSwitch) {
    const Result result = type("show running-config");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expect_golden(result.out, "leaf_running.txt");
}

// VLANs with equal configuration share one header; a checkpoint prints each of them alone.
TEST(Shell, GroupsTheVlansUnlessItMakesACheckpoint) {
    expect_golden(type("show running-config vlan 1-4095").out, "leaf_vlans.txt");
    expect_golden(type("checkpoint vlan 1-4095").out, "leaf_vlans_checkpoint.txt");
    EXPECT_EQ(body_of(type("show running-config vlan").out), body_of(type("show running-config vlan 1-4095").out));
}

TEST(Shell, ShowsExactlyTheNamedInterfaces) {
    const Result result = type("show running-config interface ethernet 1/1-4");
    EXPECT_EQ(result.status, 0);
    expect_golden(result.out, "leaf_interfaces.txt");
    EXPECT_EQ(type("show running-config interface Ethernet1/1-4").out.size(), result.out.size() - 1);
}

TEST(Shell, KnowsEveryFormOfTheCommand) {
    for (const char *rest :
         {"", " vlan 10-12,20", " vsan 100", " interface mgmt 0", " bfd", " l2mp", " fex", " exclude-l2mp",
          " exclude-fex", " port-profile server-access", " exclude bgp ospf", " service bgp", " feature ospf"}) {
        const std::string command = std::string("show running-config") + rest;
        const Result result = type(command);
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_EQ(result.out.find("\n!Command: " + command + "\n!Time: "), 0u) << result.out;
        EXPECT_GT(result.out.size(), 150u) << command;
    }
    EXPECT_EQ(type("show running-config exclude bgp ospf").out.find("router bgp"), std::string::npos);
    EXPECT_NE(type("show running-config service bgp").out.find("router bgp"), std::string::npos);
}

TEST(Shell, RefusesWhatItDoesNotUnderstand) {
    const struct {
        const char *command, *complaint;
    } cases[] = {
        {"show clock", "vsh: unknown command \"show clock\"\n"},
        {"show running-config colour", "vsh: unknown word \"colour\" after \"show running-config\"\n"},
        {"show running-config bfd now", "vsh: unexpected word \"now\"\n"},
        {"show running-config service nosuch", "vsh: unknown service \"nosuch\"\n"},
        {"show running-config exclude", "vsh: missing service name\n"},
        {"show running-config feature nosuch", "vsh: unknown feature \"nosuch\"\n"},
        {"show running-config port-profile nosuch", "vsh: unknown port profile \"nosuch\"\n"},
        {"show running-config interface ethernet 9/1", "vsh: unknown interface \"ethernet9/1\"\n"},
        {"show running-config interface ethernet 1/4-1", "vsh: the range in \"ethernet1/4-1\" is reversed\n"},
        {"show running-config vlan 10 20", "vsh: unexpected word \"20\"\n"},
        {"show running-config vlan 4096", "vsh: \"4096\" is not a VLAN from 0 to 4095\n"},
        {"show running-config vlan 20-10", "vsh: the range \"20-10\" is reversed\n"},
        {"show running-config vlan 10,,20", "vsh: empty range in \"10,,20\"\n"},
        {"show running-config vsan -1", "vsh: \"-1\" is not a VSAN from 0 to 4095\n"},
    };
    for (const auto &[command, complaint] : cases) {
        const Result result = type(command);
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_EQ(result.out, "") << command;
        EXPECT_EQ(result.err.find(complaint), 0u) << result.err;
    }
    EXPECT_NE(type("show clock").err.find("\n  vlan [RANGE]"), std::string::npos);
}

TEST(Shell, ReadsCommandsFromStandardInput) {
    const Result result =
        vsh({}, "! a comment\n\nshow running-config interface mgmt 0\nshow clock\nshow running-config service clock\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.out.find("interface mgmt0"), std::string::npos);
    EXPECT_NE(result.out.find("clock timezone"), std::string::npos);
    EXPECT_EQ(vsh({}, "quit\nshow clock\n").status, 0);
}

TEST(Shell, TakesALongCommandLine) {
    const std::string command = "show running-config service " + std::string(300, ' ') + "clock";
    const Result result = type(command);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find(command), std::string::npos);
}

TEST(Shell, RefusesAWrongSwitchFileWithItsLine) {
    const std::string head = "name: x\nversion: \"1\"\ninterfaces: []\n";
    const struct {
        const char *what;
        std::string text, complaint;
    } cases[] = {
        {"no YAML", "name: [x\n", ":2: "},
        {"unknown key", head + "colour: red\n", ":4: the description has no key \"colour\"; allowed: name, "},
        {"level", head + "services:\n  - {name: a, sap: 5, uuid: 6, elements: [{id: 1, level: 13}]}\n", ":5: "},
        {"twice", head + "services:\n  - {name: a, sap: 5, uuid: 6}\n  - {name: a, sap: 7, uuid: 8}\n", ":6: "},
        {"dependency",
         head + "services:\n  - {name: a, sap: 5, uuid: 6, elements: [{id: 1, level: 1, after: [[b, 1]]}]}\n", ":5: "},
    };
    for (const auto &[what, text, complaint] : cases) {
        const TemporaryFile file(text);
        const Result result = vsh({"-s", file.path(), "-c", "show running-config"});
        EXPECT_EQ(result.status, 1) << what;
        EXPECT_EQ(result.err.find(std::string("vsh: ") + file.path() + complaint), 0u) << what << ": " << result.err;
    }
    EXPECT_EQ(vsh({"-s", "/no/such/file"}).err, "vsh: /no/such/file: No such file or directory\n");
}

// A switch with one service that answers and one that never does.
constexpr char kSilentSwitch[] =
    "name: x\nversion: \"1\"\ninterfaces: []\nservices:\n"
    "  - {name: loud, sap: 5, uuid: 6, elements: [{id: 1, level: 1, text: \"loud\\n\"}]}\n"
    "  - {name: mute, sap: 7, uuid: 8, silent: true}\n";

TEST(Shell, PrintsTheRestWhenAServiceIsSilent) {
    const TemporaryFile file(kSilentSwitch);
    const Result result = vsh({"-s", file.path(), "--timeout-unit", "1", "-c", "show running-config"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("Pending SAPS:7 \n"), std::string::npos);
    EXPECT_NE(result.out.find("\nloud\n"), std::string::npos);
}

TEST(Shell, SurvivesAnInterruptedCommand) {
    const TemporaryFile file(kSilentSwitch), in("show running-config\nshow running-config service loud\n"), err;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = start({"-s", file.path(), "-d", "0x40"}, in.path(), ends[1], err.path());
    close(ends[1]);
    std::string out;
    char block[4096];
    bool interrupted = false;
    for (ssize_t got; (got = read(ends[0], block, sizeof block)) > 0;) {
        out.append(block, static_cast<std::size_t>(got));
        // The trace of the only reply: the command now waits for the silent service.
        if (!interrupted && out.find("Sap ctr = 1\n") != std::string::npos) interrupted = kill(-child, SIGINT) == 0;
    }
    close(ends[0]);
    EXPECT_EQ(exit_status(child), 130);
    EXPECT_EQ(contents(err.path()), "vsh: command interrupted\n");
    EXPECT_NE(out.find("\nloud\n"), std::string::npos) << "the next command runs";
}

} // namespace
