// A command that is interrupted, at whatever point of it: the signals are real, and come while a child process is
// inside a platform call of a startup generation on a store with a real lock. And two commands in one process, of
// which the first fails: nothing of it shows in the second.
#include <qarncli/interruption.h>

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>

#include "platform/mts.h"
#include "sim/reply.h"
#include "sim/store.h"
#include "support/story.h"

namespace {

std::string log_path; // opened in place of the exception log

std::FILE *open_log(const char *path, const char *mode) {
    return std::fopen(std::strcmp(path, "/tmp/qarn_dbg") == 0 ? log_path.c_str() : path, mode);
}

class Interruption : public test::Story {
  protected:
    Interruption() {
        folder = mkdtemp(pattern_.data());
        sim::use_store(sw, folder);
        add_interface(7, "mgmt0", 1);
        for (const uint32_t sap : {20u, 21u}) {
            sim::Element &element = sw.service(std::to_string(sap), sap, sap).element(1, 3);
            element.text = "saved\n";
            element.every_view = true;
        }
        sim::save_startup(sw, "stored\n!Startup config saved at: yesterday\n");
        log_path = folder + "/log";
        EXPECT_EQ(run(qarn_cli_start_cfg_gen), 0u);
        whole = text;
        calls = sw.calls;
    }
    ~Interruption() override { std::filesystem::remove_all(folder); }
    // The first call of the whole generation that begins so, counting from 1.
    std::size_t position(const std::string &call) const {
        const auto begins = [&](const std::string &other) { return other.find(call) == 0; };
        return static_cast<std::size_t>(std::ranges::find_if(calls, begins) - calls.begin()) + 1;
    }
    // Generate in a child that sends itself `signo` in its call number `point`, or after its end, and `second` in the
    // call after that. It must end with status 0, having called and printed no more than `expected` since.
    void interrupt(std::size_t point, int signo, const std::string &expected, int second = 0) {
        EXPECT_EXIT(generate_and_raise(point, signo, second), testing::ExitedWithCode(0), testing::Eq(expected))
            << signo << " in call " << point;
        EXPECT_NO_THROW(sim::lock_store(folder, sim::LockMode::kExclusive)) << signo << " in call " << point;
        sim::unlock_store();
    }
    void generate_and_raise(std::size_t point, int signo, int second) {
        std::freopen("/dev/null", "w", stdout); // traces
        sw.calls.clear();
        sw.printed.clear();
        interrupted = this;
        std::atexit([] { interrupted->report(); });
        const auto raise_first = [&] {
            printed = sw.printed.size();
            std::raise(signo);
        };
        sw.on_call = [&](const std::string &call) {
            if (sw.calls.size() > point) std::fprintf(stderr, "%s\n", call.c_str());
            if (sw.calls.size() == point) raise_first();
            if (sw.calls.size() == point + 1 && second != 0) std::raise(std::exchange(second, 0));
        };
        qarn_cli_start_cfg_gen(&req);
        raise_first();
    }
    void report() const {
        // A file description of its own meets the lock as another process does.
        const bool is_free = flock(open((folder + "/lock").c_str(), O_RDWR), LOCK_EX | LOCK_NB) == 0;
        std::fprintf(stderr, "%s%s", sw.printed.substr(printed).c_str(), is_free ? "free" : "held");
    }
    static inline const Interruption *interrupted = nullptr;
    const std::string unlock = "cmi_req_resp(7670, 3, unlock, 8, \"\", \"\", 76, 1, 20)\n";
    std::string pattern_ = testing::TempDir() + "interrupted-XXXXXX", folder, whole;
    std::vector<std::string> calls;
    std::size_t printed = 0;
};

TEST_F(Interruption, EndsAStartupCommandAnywhereWithTheStoreReleased) {
    const std::size_t locked = position("cmi_req_resp(7670, 3, lock"), released = position("cmi_req_resp(7670, 3, unl");
    for (const int signo : {SIGINT, SIGHUP, SIGPIPE}) {
        for (std::size_t point = 1; point <= calls.size() + 1; ++point)
            interrupt(point, signo, (point > locked && point <= released ? unlock : "") + "free");
    }
}

TEST_F(Interruption, IsLoggedWithItsZeroByteUnderTheDebugBit) {
    const test::Interposed opening("fopen", reinterpret_cast<void *>(open_log));
    const std::size_t collecting = position("mts_payload_get");
    interrupt(1, SIGHUP, "free");
    req.dbg_mask = QARN_DEBUG_STORE;
    interrupt(collecting, SIGPIPE, unlock + "free");
    interrupt(collecting, SIGINT, unlock + unlock + "free", SIGHUP); // one while another is handled
    std::string log(100, '-');
    log.resize(static_cast<std::size_t>(std::ifstream(log_path).read(log.data(), 100).gcount()));
    EXPECT_EQ(log, std::string("Cleaning up:13 0\n\0Cleaning up:2 0\n\0Cleaning up:1 1\n\0", 52));
}

TEST_F(Interruption, IsIgnoredWhenItCannotBeLogged) {
    const test::Interposed opening("fopen", reinterpret_cast<void *>(open_log));
    const std::string refusal = "Unable to open Exception log file\n";
    req.dbg_mask = QARN_DEBUG_STORE;
    log_path = folder + "/none/log";
    std::size_t point = 1;
    sw.on_call = [&](const std::string &) { sw.calls.size() == point ? std::raise(SIGINT) : 0; };
    for (; point <= calls.size(); ++point) {
        run(qarn_cli_start_cfg_gen);
        ASSERT_NE(text.find(refusal), std::string::npos) << point;
        EXPECT_EQ(text.erase(text.find(refusal), refusal.size()), whole) << point;
        EXPECT_EQ(sw.calls, calls) << "nothing is released ahead of its time";
    }
}

int32_t interrupted_time_out(uint32_t, mts_msg *, const qarn_recv_opts *) {
    errno = ETIME;
    std::raise(SIGINT);
    return -1;
}

TEST_F(Interruption, ThatIsIgnoredLeavesATimeOutATimeOut) {
    const test::Interposed opening("fopen", reinterpret_cast<void *>(open_log));
    const test::Interposed receiving("mts_recv", reinterpret_cast<void *>(interrupted_time_out));
    log_path = folder + "/none/log";
    req.dbg_mask = QARN_DEBUG_STORE;
    EXPECT_EQ(generate(), QARN_STATUS_FAILED + 0u);
    EXPECT_NE(text.find("The following SAPs did not respond"), std::string::npos) << text << errors;
}

TEST_F(Interruption, ByAFailureLeavesNothingToACommandOfAnotherKind) {
    sw.services[0].elements[0].text = "since changed\n";
    const EntryPoint kinds[] = {qarn_cli_run_vlan_cfg_gen, qarn_cli_start_intf_cfg_gen, qarn_cli_start_vlan_cfg_gen};
    for (const EntryPoint second : kinds) {
        req.info_flags = 0; // the next request is a new one
        run(second);
        const auto alone = std::pair(text, sw.transport.sent.back().payload);
        for (const EntryPoint first : kinds) {
            // The first ends early, with half a reply in hand.
            sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY, sim::fragment(20, false, 90, "half a reply"));
            sw.next("mts_recv", {-1, EIO, 2});
            EXPECT_NE(run(first), 0u);
            sw.transport.endpoints.at(req.mts_handle).streams.clear();
            req.info_flags = 0;
            EXPECT_EQ(run(second), 0u);
            EXPECT_EQ(std::pair(text, sw.transport.sent.back().payload), alone);
        }
    }
}

} // namespace
