// SPDX-License-Identifier: MIT
#include "listener/listener.h"

#include <cstring>

#include <pthread.h>
#include <unistd.h>

#include "dmon/dmon.h"
#include "kelp/kelp.h"
#include "listener/commands.h"
#include "listener/event_queue.h"
#include "listener/meas_config.h"
#include "listener/meas_sync.h"
#include "okra/okra.h"
#include "storage/meas_control.h"

std::atomic<std::int32_t> vorn_status{LISTENER_CONNECTED};

namespace {

constexpr unsigned RETRY_SECONDS = 1;

bool findRegistry() {
    return kelp_init() == 0;
}

bool openManager() {
    return APX_Open_Manager() == 0;
}

struct Peer {
    bool (*connect)();
    ListenerStatus missing;  // the status while it is waited for
    const char *waits;       // logged after the first failure
    const char *ready;       // logged when a failure went before
};

// In the order in which they are needed.
constexpr Peer peers[] = {
    {findRegistry, LISTENER_NO_REGISTRY, "Warning: KELP server not ready. Retrying...\n",
     "KELP server is ready.\n"},
    {openEventQueue, LISTENER_NO_QUEUE, "Error: could not create KELP queue. Retrying...\n",
     "KELP queue created.\n"},
    {openManager, LISTENER_NO_MANAGER, "Warning: OKRA manager not ready. Retrying...\n",
     "OKRA manager opened.\n"},
    {subscribeToEvents, LISTENER_NO_EVENTS,
     "Warning: could not subscribe to OKRA events. Retrying...\n", "Subscribed to OKRA events.\n"},
};

void waitFor(const Peer &peer) {
    bool failed = false;
    while (!peer.connect()) {
        vorn_status = peer.missing;
        if (!failed) dmon_log(1, "%s", peer.waits);
        failed = true;
        sleep(RETRY_SECONDS);
    }
    vorn_status = LISTENER_CONNECTED;
    if (failed) dmon_log(1, "%s", peer.ready);
}

// Starts a thread that is never joined. 0, or the system's error number.
int startThread(void *(*body)(void *)) {
    pthread_t thread;
    const int error = pthread_create(&thread, nullptr, body, nullptr);
    if (error == 0) pthread_detach(thread);
    return error;
}

}  // namespace

void initMeasListener() {
    initMeasControl();
}

int startMeasListener() {
    for (const Peer &peer : peers) waitFor(peer);
    initCommandQueue();

    int error = startThread(measConfigThread);
    if (error != 0) {
        dmon_log(1, "Error creating measConfig thread: %s\n", std::strerror(error));
        return START_FAILED;
    }
    error = startThread(measSyncThread);
    if (error != 0) {
        dmon_log(1, "Error creating measSync thread: %s\n", std::strerror(error));
        return START_FAILED;
    }
    return START_OK;
}
