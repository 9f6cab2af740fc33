// SPDX-License-Identifier: MIT
// What the keyed store and the message queue need to let threads wait: their lock and condition
// variable, and waits with a time-out.
#pragma once

#include <cstdint>
#include <ctime>

#include <pthread.h>

// Makes the two; returns 0 or the error number of what failed, and then neither is left.
int initWaiting(pthread_mutex_t *lock, pthread_cond_t *cond, bool recursive);

enum class WaitKind { FOREVER, NOT, UNTIL };

struct WaitLimit {
    WaitKind kind;
    struct timespec deadline;  // of CLOCK_REALTIME; for UNTIL
};

// The limit of a wait that begins now, as plug-ins give it: VORN_WAIT_FOREVER, VORN_NO_WAIT, or a
// time-out.
WaitLimit limitOfSeconds(std::uint32_t seconds);
WaitLimit limitOfMilliseconds(std::uint32_t milliseconds);

// Waits for one wake-up, with the lock held. False when the wait is over: by its limit, by an
// error, or because it is not to wait at all. A cancellation point.
bool waitOnce(pthread_cond_t *cond, pthread_mutex_t *lock, const WaitLimit &limit);
