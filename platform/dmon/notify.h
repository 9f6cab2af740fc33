// SPDX-License-Identifier: MIT
// Tells the service manager how the service is, when one has asked by NOTIFY_SOCKET: ready, ending,
// its status in words, alive. Without that variable nothing here does anything. For the host
// libraries alone: the instrument's have no part in it.
#pragma once

#include "dmon/dmon.h"

namespace dmon {

// Reads NOTIFY_SOCKET and WATCHDOG_USEC, before a second thread exists.
void openNotify();

// Clients are taken from now on. The first call counts.
void notifyReady();

// The process ends. May be called by a signal handler.
void notifyStopping();

// Sends the status text when it is another one than last time. For one thread.
// Returns when to look again, in ms; -1: never.
int notifyStatus(const DmonOps *ops);

// Says that the caller's loop turns, when it is time to. For the thread that called notifyReady.
// Returns when to call again at the latest, in ms; -1: never.
int feedWatchdog();

}  // namespace dmon
