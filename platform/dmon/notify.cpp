// SPDX-License-Identifier: MIT
#include "dmon/notify.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/clock.h"
#include "base/numbers.h"
#include "dmon/control_words.h"

namespace {

constexpr int STARTING_PERIOD_MS = 1000;  // the status changes while peers are waited for
constexpr int RUNNING_PERIOD_MS = 30000;  // and hardly ever after that
constexpr std::int64_t LEAST_FEED_MS = 1;

// Written by openNotify, and only read from then on: a signal handler may.
int notifySocket = -1;
sockaddr_un manager;
socklen_t managerSize;
std::int64_t feedMs;  // between two meals; 0: there is no watchdog

std::atomic<bool> ready{false};

void sendState(std::string_view text, int flags) {
    if (notifySocket < 0) return;
    static_cast<void>(sendto(notifySocket, text.data(), text.size(), flags | MSG_NOSIGNAL,
                             reinterpret_cast<const sockaddr *>(&manager), managerSize));
}

// A path, or with '@' in front a name in the abstract space.
bool readAddress(const char *text) {
    const std::size_t length = std::strlen(text);
    if ((*text != '/' && *text != '@') || length < 2 || length >= sizeof manager.sun_path)
        return false;
    manager.sun_family = AF_UNIX;
    std::memcpy(manager.sun_path, text, length);
    if (*text == '@') manager.sun_path[0] = '\0';
    managerSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    return true;
}

std::int64_t readNumber(const char *name) {
    const char *text = std::getenv(name);
    std::uint64_t number = 0;
    if (text != nullptr)
        static_cast<void>(parseDecimal(text, std::numeric_limits<std::int64_t>::max(), &number));
    return static_cast<std::int64_t>(number);
}

}  // namespace

void dmon::openNotify() {
    const char *address = std::getenv("NOTIFY_SOCKET");
    if (address == nullptr || *address == '\0') return;
    if (readAddress(address)) notifySocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (notifySocket < 0) {
        dmon_log(1, "Warning: the service manager cannot be told anything at '%s'.\n", address);
        return;
    }
    // The watchdog may be meant for another process of the same environment.
    if (std::getenv("WATCHDOG_PID") != nullptr && readNumber("WATCHDOG_PID") != getpid()) return;
    const std::int64_t limit = readNumber("WATCHDOG_USEC") / 1000;
    // Four times in the limit, so that a request which comes just before a meal has most of it.
    if (limit > 0) feedMs = std::max(limit / 4, LEAST_FEED_MS);
}

void dmon::notifyReady() {
    if (!ready.exchange(true)) sendState("READY=1", 0);
}

void dmon::notifyStopping() {
    const int saved = errno;
    sendState("STOPPING=1", MSG_DONTWAIT);
    errno = saved;
}

int dmon::notifyStatus(const DmonOps *ops) {
    constexpr std::size_t STATUS_SIZE = 320;
    static char last[STATUS_SIZE];
    if (notifySocket < 0) return -1;
    Reply reply;
    answerControlLine(ops, "status", &reply);
    // "CODE TEXT\n"
    std::string_view text = reply.text;
    text.remove_prefix(std::min(text.find(' ') + 1, text.size()));
    if (text.ends_with('\n')) text.remove_suffix(1);
    if (text != last) {
        char state[sizeof last + 8] = "STATUS=";
        const std::size_t start = std::strlen(state);
        sendState({state, start + text.copy(state + start, sizeof state - start)}, MSG_DONTWAIT);
        last[text.copy(last, sizeof last - 1)] = '\0';
    }
    return ready ? RUNNING_PERIOD_MS : STARTING_PERIOD_MS;
}

int dmon::feedWatchdog() {
    static std::int64_t feedAt = 0;
    if (notifySocket < 0 || feedMs == 0) return -1;
    const std::int64_t now = monotonicMs();
    if (now >= feedAt) {
        sendState("WATCHDOG=1", MSG_DONTWAIT);
        feedAt = now + feedMs;
    }
    return static_cast<int>(std::min<std::int64_t>(feedAt - now, INT32_MAX));
}
