// SPDX-License-Identifier: MIT
#include "core/status.h"

#include <cstddef>
#include <iterator>

#include "dmon/dmon.h"
#include "listener/listener.h"
#include "storage/strings.h"

namespace {

struct Status {
    ListenerStatus listener;
    StatusCode code;
    const char *text;
};

constexpr Status statuses[] = {
    {LISTENER_CONNECTED, STATUS_RUNNING, "Server is running OK."},
    {LISTENER_NO_REGISTRY, STATUS_WAITING, "KELP server is not ready. Retrying..."},
    {LISTENER_NO_QUEUE, STATUS_WAITING, "KELP queue not created. Retrying..."},
    {LISTENER_NO_MANAGER, STATUS_WAITING, "Application manager is not ready. Retrying..."},
    {LISTENER_NO_EVENTS, STATUS_FAULT, "Could not subscribe to application events."},
};

constexpr Status unknownStatus = {LISTENER_CONNECTED, STATUS_FAULT, "Unknown status."};

const Status &currentStatus() {
    const std::int32_t current = vorn_status;
    for (const Status &status : statuses)
        if (status.listener == current) return status;
    return unknownStatus;
}

// The framework applies the level itself.
int setDebugLevel(int level) {
    dmon_log(1, "Debug level set to %d\n", level);
    return 0;
}

int ignoreRequest(int) {
    return 0;
}

int getStatusCode(int) {
    return currentStatus().code;
}

int answer(char *buffer, int size, const char *text) {
    if (size > 0) safe_strncpy(buffer, text, static_cast<std::size_t>(size));
    return 0;
}

int getDescription(int, char *buffer, int size) {
    return answer(buffer, size, "VORN - Configs and Reports Manager.");
}

int getStatusText(int, char *buffer, int size) {
    return answer(buffer, size, currentStatus().text);
}

}  // namespace

const DmonOps vorn_ops = {
    .reserved0 = nullptr,
    .setDebugLevel = setDebugLevel,
    .request2 = ignoreRequest,
    .statusCode = getStatusCode,
    .request4 = ignoreRequest,
    .reserved5 = nullptr,
    .description = getDescription,
    .statusText = getStatusText,
    .reserved8 = nullptr,
    .reserved9 = nullptr,
};
