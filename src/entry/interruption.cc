// The handler of SIGINT, SIGHUP and SIGPIPE, which never leaves the startup store locked. It may run at any point of
// the driver, because gl_q is set before the handler is installed, and start_cfg_locked is set by the lock itself. The
// handler prints, makes an exchange and calls exit. None of this is async-signal-safe, but interruption.h promises it.
#include <qarncli/interruption.h>

#include <qarncli/globals.h>
#include <qarncli/startup.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/owner.h"
#include "base/trace.h"
#include "platform/csm.h"

namespace qarn {
namespace {

constexpr char kExceptionLog[] = "/tmp/qarn_dbg";

uint32_t logged_interruptions = 0;

// Append one line with its terminating zero byte; false when the log cannot be opened.
bool log_interruption(int signo) {
    char line[256];
    const int length = std::snprintf(line, sizeof line, "Cleaning up:%d %d\n", signo, logged_interruptions);
    File log(std::fopen(kExceptionLog, "a"));
    if (!log) return false;
    std::fwrite(line, 1, std::min(static_cast<std::size_t>(length), sizeof line - 1) + 1, log.get());
    ++logged_interruptions;
    return true;
}

} // namespace
} // namespace qarn

void qarn_sig_handler(int signo) {
    const int err = errno;
    if (qarn::debugging(QARN_DEBUG_STORE) && !qarn::log_interruption(signo)) {
        csm_qarn_sp_print("Unable to open Exception log file\n");
        errno = err; // the interrupted code may be about to read it
        return;
    }
    if (start_cfg_locked != 0) qarn_startup_cfg_lock(gl_q, 0);
    std::exit(0);
}
