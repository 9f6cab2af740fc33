// SPDX-License-Identifier: MIT
// Connects the service to the registry and the application manager and starts the two threads that
// follow the measurements.
#pragma once

#include <atomic>
#include <cstdint>

// What the listener waits for. The numbers are those of the service's status.
enum ListenerStatus : std::int32_t {
    LISTENER_CONNECTED = 0,
    LISTENER_NO_REGISTRY = 1,
    LISTENER_NO_QUEUE = 2,
    LISTENER_NO_MANAGER = 3,
    LISTENER_NO_EVENTS = 4,  // the manager does not let the service subscribe to its events
};

enum ListenerResult : int {
    START_OK = 0,
    START_FAILED = -1,  // a thread could not be created
};

// A ListenerStatus, written while the listener starts, and by the receiving thread when it lost the
// registry's queue; read from any thread.
extern std::atomic<std::int32_t> vorn_status;

// Forgets what was last told to the application manager. Called before startMeasListener.
void initMeasListener();

// Waits, however long it takes, until registry and manager answer, then starts the threads, which
// run until the process ends. START_OK, or START_FAILED after a message.
int startMeasListener();
