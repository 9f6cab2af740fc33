// SPDX-License-Identifier: MIT
// What the daemon framework asks the running service: its description, its status, and that the
// debug level has changed.
#pragma once

#include "dmon/dmon.h"

// Status codes as the framework shows them.
enum StatusCode : int {
    STATUS_RUNNING = 1,
    STATUS_WAITING = 2,  // a peer is not ready yet
    STATUS_FAULT = 3,
};

// The table for dmon_run_daemon. Its callbacks may be called from any thread.
extern const DmonOps vorn_ops;
