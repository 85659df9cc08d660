// The shell as a user meets it: a program with arguments, standard input and output, and an exit status. The whole
// configuration of the built-in switch is compared with a text in tests/golden.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
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

// A folder for a startup store, with a saved text and no binary store.
class TemporaryStore {
  public:
    explicit TemporaryStore(const std::string &text = "") {
        std::filesystem::create_directories(path() + "/startup-cfg");
        if (!text.empty()) std::ofstream(path() + "/startup-cfg/system.cfg") << text;
    }
    ~TemporaryStore() { std::filesystem::remove_all(path_); }
    TemporaryStore(const TemporaryStore &) = delete;
    TemporaryStore &operator=(const TemporaryStore &) = delete;
    const std::string &path() const { return path_; }
    std::string binary(const std::string &name = "") const { return path_ + "/startup-cfg/bin/" + name; }

  private:
    std::string template_ = testing::TempDir() + "vsh-store-XXXXXX", path_ = mkdtemp(template_.data());
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
    for (const std::string label : {"!Time: ", "!Startup config saved at: "})
        for (std::size_t at = 0; (at = text.find(label, at)) != std::string::npos; ++at)
            text.replace(at, text.find('\n', at) - at, label + "now");
    return text;
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
        {"show running-config template", "vsh: unknown word \"template\" after \"show running-config\"\n"},
        {"show startup-config all vdc-all", "vsh: unknown word \"all\" after \"show startup-config\"\n"},
        {"show running-config all of-them", "vsh: unexpected word \"of-them\"\n"},
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
    EXPECT_NE(type("show clock").err.find("vlan [RANGE]"), std::string::npos);
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

// ---- The saved configuration ----------------------------------------------------------------------------------------

TEST(Startup, IsShownAsStoredUntilItIsCopiedAndFromTheServicesThen) {
    const std::string by_hand = "hostname by-hand\nno newline at the end";
    const TemporaryStore store(by_hand);
    const auto in_store = [&](const std::string &command) { return vsh({"--store", store.path(), "-c", command}); };
    const Result stored = in_store("show startup-config");
    EXPECT_EQ(stored.status, 0) << stored.err;
    EXPECT_EQ(stored.out, by_hand);
    EXPECT_EQ(in_store("show startup-config vlan 2-10").out, "ERROR: Please do 'copy run start' and retry.\n");

    const Result copied = in_store("copy running-config startup-config");
    EXPECT_EQ(copied.out, "Copy complete.\n") << copied.err;
    EXPECT_EQ(copied.status, 0);

    for (const char *form : {"", " vsan 100", " interface ethernet 1/5", " l2mp", " port-profile hypervisor",
                             " service telemetry", " feature bgp", " vlan 300-400"}) {
        const Result saved = in_store(std::string("show startup-config") + form);
        std::string expected = without_time(type(std::string("show running-config") + form).out);
        expected.replace(expected.find("running"), 7, "startup");
        expected.insert(expected.find("!Time: now\n") + 11, "!Startup config saved at: now\n");
        EXPECT_EQ(saved.status, 0) << form;
        EXPECT_EQ(without_time(saved.out), expected) << form;
    }
    std::filesystem::remove_all(store.binary());
    EXPECT_EQ(in_store("show startup-config").out, contents(store.path() + "/startup-cfg/system.cfg"));
}

constexpr char kLoudService[] =
    "name: x\nversion: \"1\"\nservices:\n"
    "  - {name: loud, sap: 5, uuid: 6, elements: [{id: 1, level: 1, text: \"loud\\n\"}]}\n";

// What a display says behind its header.
std::string body(const Result &result) {
    const std::size_t at = result.out.find("\nversion 1\n");
    return at == std::string::npos ? result.out : result.out.substr(at + 11);
}

TEST(Startup, StaysWithWhatIsNotDamaged) {
    const TemporaryFile file(std::string(kLoudService) +
                             "  - {name: other, sap: 7, uuid: 8, elements: [{id: 1, level: 1, text: \"other\\n\"}]}\n");
    const TemporaryStore store;
    const std::vector<std::string> options = {"-s", file.path(), "--store", store.path(), "-c"};
    const auto in_store = [&](const char *command) {
        std::vector<std::string> words = options;
        words.push_back(command);
        return vsh(words);
    };
    ASSERT_EQ(in_store("copy running-config startup-config").status, 0);
    const std::string whole = contents(store.binary("5")), system = contents(store.path() + "/startup-cfg/system.cfg");
    std::string flipped = whole, longer = whole + "    ";
    flipped[flipped.size() - 2] ^= 1;
    const struct {
        const char *what;
        std::string file;
    } cases[] = {{"empty", ""},
                 {"cut in the header", whole.substr(0, 10)},
                 {"cut", whole.substr(0, whole.size() - 4)},
                 {"garbage", std::string(100, '\xff')},
                 {"one bit", flipped},
                 {"something behind", longer}};
    for (const auto &[what, bytes] : cases) {
        std::ofstream(store.binary("5"), std::ios::binary) << bytes;
        const Result result = in_store("show startup-config");
        EXPECT_EQ(result.out.find("Sap 5 returned failure code:0x40440003\n"), 0u) << what << result.out;
        EXPECT_EQ(body(result), "other\n\n\n") << what;
        EXPECT_EQ(result.status, 1) << what;
    }
    std::filesystem::remove(store.binary("5"));
    EXPECT_EQ(body(in_store("show startup-config")), "other\n\n\n") << "a service that has saved nothing";
    std::filesystem::rename(store.binary("7"), store.binary(".7"));
    EXPECT_EQ(in_store("show startup-config").out, system) << "only a hidden file: no binary store";
    EXPECT_EQ(in_store("copy running-config startup-config").status, 0);
    EXPECT_EQ(body(in_store("show startup-config")), "loud\nother\n\n\n") << "copied anew";
}

TEST(Startup, IsLockedWhileAnotherShellReadsItAndNotBeyondItsDeath) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), 0); // the holder's orphan is waited for here
    const TemporaryFile loud(kLoudService), silent(kSilentSwitch), in, err;
    const TemporaryStore store;
    const auto in_store = [&](const char *command) {
        return vsh({"-s", loud.path(), "--store", store.path(), "-c", command});
    };
    ASSERT_EQ(in_store("copy running-config startup-config").status, 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t holder =
        start({"-s", silent.path(), "--store", store.path(), "-d", "0x40", "-c", "show startup-config"}, in.path(),
              ends[1], err.path());
    close(ends[1]);
    std::string out;
    char block[4096];
    for (ssize_t got; out.find("Sap ctr = 1\n") == std::string::npos && (got = read(ends[0], block, sizeof block)) > 0;)
        out.append(block, static_cast<std::size_t>(got));
    ASSERT_NE(out.find("Sap ctr = 1\n"), std::string::npos) << "it waits for the silent service now";

    const Result refused = in_store("show startup-config");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "startup configuration is locked by another process\n");
    const Result copy = in_store("copy running-config startup-config");
    EXPECT_EQ(copy.status, 1);
    EXPECT_EQ(copy.err, "vsh: startup configuration is locked by another process\n");
    EXPECT_EQ(in_store("show running-config").status, 0) << "which needs no store";

    kill(-holder, SIGKILL);
    while (waitpid(-holder, nullptr, 0) > 0) {
    }
    close(ends[0]);
    EXPECT_EQ(body(in_store("show startup-config")), "loud\n\n\n");
}

TEST(Startup, CannotBeCopiedToWhereThereIsNoStore) {
    const TemporaryFile file;
    const struct {
        std::vector<std::string> options;
        std::string complaint;
    } cases[] = {
        {{}, "vsh: there is no startup store to copy to; --store names its folder\n"},
        {{"--store", std::string("/") + std::string(240, 'x')}, "vsh: the path of the store is too long: /x"},
        {{"--store", std::string(file.path()) + "/below"}, "vsh: "},
    };
    for (const auto &[options, complaint] : cases) {
        std::vector<std::string> words = options;
        words.insert(words.end(), {"-c", "copy running-config startup-config"});
        const Result result = vsh(words);
        EXPECT_EQ(result.status, 1) << complaint;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.find(complaint), 0u) << result.err;
    }
    EXPECT_EQ(type("show startup-config").out, "no startup configuration present\n");
}

// ---- VDCs -----------------------------------------------------------------------------------------------------------

const std::string kThreeVdcs = SWITCHES "/three-vdcs.yaml";

TEST(Vdcs, AreShownOneAfterTheOtherAlsoThroughAPipe) {
    const std::string command = "show running-config vdc-all";
    const Result result = vsh({"-s", kThreeVdcs, "-c", command});
    EXPECT_EQ(result.status, 0) << result.err;
    expect_golden(result.out, "three_vdcs_running.txt");

    const TemporaryFile in, err;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = start({"-s", kThreeVdcs, "-c", command}, in.path(), ends[1], err.path());
    close(ends[1]);
    std::string piped;
    char block[4096];
    for (ssize_t got; (got = read(ends[0], block, sizeof block)) > 0;)
        piped.append(block, static_cast<std::size_t>(got));
    close(ends[0]);
    EXPECT_EQ(exit_status(child), 0);
    EXPECT_EQ(without_time(piped), without_time(result.out));
}

TEST(Vdcs, AreEnteredAndLeftInASession) {
    const TemporaryStore store;
    const Result result = vsh({"-s", kThreeVdcs, "--store", store.path()},
                              "switchto vdc blue\nswitchto vdc green\nswitchback\nswitchto vdc red\n"
                              "show running-config vlan\ncopy running-config startup-config\nswitchback\n"
                              "copy running-config startup-config\nshow running-config service system\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "vsh: VDC \"blue\" is not active\nvsh: unknown VDC \"green\"\nvsh: this is the VDC of the beginning\n");
    const std::size_t red = result.out.find("\nvlan 10\n  name tenants\n"),
                      first = result.out.find("hostname core-1\n");
    EXPECT_LT(red, first) << result.out;
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(result.out.find("hostname red\n"), std::string::npos);
    expect_golden(vsh({"-s", kThreeVdcs, "--store", store.path(), "-c", "show startup-config vdc-all"}).out,
                  "three_vdcs_startup.txt");
}

TEST(Vdcs, DoNotStopForOneWhoseShellFails) {
    const TemporaryFile file(std::string(kLoudService) +
                             "vdcs: [{id: 4, name: broken, switch: /no/such}, {id: 1, name: x}, {id: 7, name: y}]\n");
    const Result result = vsh({"-s", file.path(), "-c", "show running-config all vdc-all"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "vsh: /no/such: No such file or directory\n");
    const std::string shown = "\n!Command: show running all\n!Time: now\n\nversion 1\nloud\n\n\n";
    EXPECT_EQ(without_time(result.out),
              "!Running config for vdc: broken\n\n\nswitchto vdc broken\nswitchback\n"
              "!Running config for default vdc: x\n\n" +
                  shown + "!Running config for vdc: y\n\n\nswitchto vdc y\n" + shown + "switchback\n");
    EXPECT_EQ(vsh({"-s", file.path(), "-i", "3", "-o 40", "-c", "show running"}).err, "vsh: unknown VDC 3\n");
}

// ---- In-process services, profiles ----------------------------------------------------------------------------------

TEST(InProcess, AnswersInPlaceOfItsServiceOrLeavesTheRest) {
    const struct {
        const char *what, *row, *shown;
    } cases[] = {
        {"answers", "function: qarn_inprocess_answer, library: libqarninproc.so, flags: [running]", "loud\nmute\n"},
        {"says nothing", "function: qarn_inprocess_say_nothing, library: libqarninproc.so, flags: [running]", "loud\n"},
        {"no function", "function: nosuch, library: libqarninproc.so, flags: [running]", "loud\n"},
        {"no library", "function: nosuch, library: libnosuch.so, flags: [running]", "loud\n"},
    };
    for (const auto &[what, row, shown] : cases) {
        const TemporaryFile file(std::string(kLoudService) +
                                 "  - {name: mute, sap: 7, uuid: 8, silent: true,\n"
                                 "     elements: [{id: 1, level: 1, after: [[loud, 1]], text: \"mute\\n\"}]}\n"
                                 "in_process: [{service: mute, " +
                                 row + "}]\n");
        // With the default unit, a service that is waited for would stop this for two minutes.
        const Result result = vsh({"-s", file.path(), "-c", "show running-config"});
        EXPECT_EQ(result.status, 0) << what;
        EXPECT_EQ(body(result), std::string(shown) + "\n\n") << what;
    }
}

TEST(Profiles, AreShownAsTheFilterModeSays) {
    const TemporaryFile file(std::string(kLoudService) + "switch_profile: {sync: \"peers\\n\"}\n");
    const auto shown = [&](const char *bits) {
        return body(vsh({"-s", file.path(), "--filter-mode", bits, "-c", "show running-config"}));
    };
    EXPECT_EQ(shown("0"), "loud\n\n\n");
    EXPECT_EQ(shown("0x08"), "loud\n\n\npeers\n\n");
    EXPECT_EQ(shown("0x48"), "loud\n\n\nconfigure sync\npeers\n  commit\n\n");
}

} // namespace
