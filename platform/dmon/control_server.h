// SPDX-License-Identifier: MIT
// Answers on the control socket, on a thread of its own: whatever the service is doing, and however
// many clients are silent. It sleeps until somebody speaks.
#pragma once

#include <pthread.h>

#include "dmon/dmon.h"

namespace dmon {

struct ControlServer {
    const DmonOps *ops;
    int listener;  // of openControlSocket; the server closes it
    int wake;      // an eventfd that ends the thread
    int spare;     // held so that a service that has used up its descriptors can still be asked
    void (*onStop)();
    pthread_t thread;
};

// Starts the thread; it calls `onStop` for the word `stop`, once the client has its answer. The
// record must stay where it is until stopControlServer. 0, or the errno: then the listener is
// closed.
int startControlServer(ControlServer *server, const DmonOps *ops, int listener, void (*onStop)());

// Ends the thread, with its clients.
void stopControlServer(ControlServer *server);

}  // namespace dmon
