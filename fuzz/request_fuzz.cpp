// SPDX-License-Identifier: MIT
// Sends hostile bytes to the request server: as a client's stream, or, where the first byte is odd,
// as the payload of a request with a right header. Reports are not made, since an absolute name
// reaches any file.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "nx/client.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "server/requests.h"
#include "server/server.h"

int initReports() {
    return REPORT_OK;
}
int generateReport(const char *resultsPath, const char *templatePath, const char *reportPath,
                   std::uint32_t /*flags*/, std::uint32_t /*format*/, KvStore * /*userVars*/,
                   const char *dictName, const char *name) {
    std::size_t length = 0;  // all are whole texts, read to their ends
    for (const char *text : {resultsPath, templatePath, reportPath, dictName, name})
        if (text != nullptr) length += std::strlen(text);
    return -static_cast<int>(length);
}
int deleteAllReports() {
    return REPORT_OK;
}
int updateReportQuota() {
    return REPORT_OK;
}
int getReportCount() {
    return 0;
}

namespace {

NxClient client;

bool prepare() {
    setenv("VORN_ROOT", "/nonexistent", 1);  // no state file is written
    dmon_set_level(0);
    return setDefaults() == 0 && initUserVars() == KV_OK && initCommandQueue() == MQ_OK;
}

void sendStream(const std::uint8_t *data, std::size_t size) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    openClient(&client, ends[0], 0);
    static_cast<void>(send(ends[1], data, size, MSG_NOSIGNAL));
    close(ends[1]);
    client.hungUp = true;
    while (serveClient(&client, serverRequestCallback, [] { return std::int64_t{0}; }) == NX_KEEP) {
    }
    closeClient(&client);
}

void sendRequest(const std::uint8_t *data, std::size_t size) {
    PktMessage request{};
    std::uint8_t payload[4096];
    request.payload = payload;
    request.capacity = sizeof payload;
    pktInitFull(&request, static_cast<std::uint16_t>(REPLY_RESULT + data[0] % 18),
                static_cast<std::int8_t>(data[1]), static_cast<std::int8_t>(data[2]));
    request.length = static_cast<std::uint32_t>(std::min(size - 3, sizeof payload));
    std::copy_n(data + 3, request.length, payload);
    PktMessage reply{};
    serverRequestCallback(nullptr, nullptr, &request, &reply);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const bool prepared = prepare();
    if (!prepared || size < 4) return 0;
    if (data[0] % 2 == 0) {
        sendStream(data + 1, size - 1);
    } else {
        sendRequest(data + 1, size - 1);
    }
    while (MeasCommand *command = takeCommand(VORN_NO_WAIT)) freeCommand(command);
    kvFlush(&kv_urv);
    return 0;
}
