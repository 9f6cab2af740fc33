// SPDX-License-Identifier: MIT
#include "util/waiting.h"

#include "vorn/plugin.h"

// A 32-bit number of seconds from now stays far from the end of time_t; _TIME_BITS=64 of the build
// sees to it.
static_assert(sizeof(std::time_t) == 8);

namespace {

WaitLimit limitOf(std::uint32_t word, std::uint32_t wordsPerSecond) {
    constexpr long SECOND = 1000000000;
    if (word == VORN_WAIT_FOREVER) return {WaitKind::FOREVER, {}};
    if (word == VORN_NO_WAIT) return {WaitKind::NOT, {}};
    WaitLimit limit{WaitKind::UNTIL, {}};
    clock_gettime(CLOCK_REALTIME, &limit.deadline);
    limit.deadline.tv_sec += word / wordsPerSecond;
    limit.deadline.tv_nsec +=
        static_cast<long>(word % wordsPerSecond) * (SECOND / static_cast<long>(wordsPerSecond));
    if (limit.deadline.tv_nsec >= SECOND) {
        limit.deadline.tv_nsec -= SECOND;
        ++limit.deadline.tv_sec;
    }
    return limit;
}

int initLock(pthread_mutex_t *lock, bool recursive) {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error != 0) return error;
    if (recursive) pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    error = pthread_mutex_init(lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

}  // namespace

int initWaiting(pthread_mutex_t *lock, pthread_cond_t *cond, bool recursive) {
    int error = initLock(lock, recursive);
    if (error != 0) return error;
    error = pthread_cond_init(cond, nullptr);
    if (error != 0) pthread_mutex_destroy(lock);
    return error;
}

WaitLimit limitOfSeconds(std::uint32_t seconds) {
    return limitOf(seconds, 1);
}

WaitLimit limitOfMilliseconds(std::uint32_t milliseconds) {
    return limitOf(milliseconds, 1000);
}

bool waitOnce(pthread_cond_t *cond, pthread_mutex_t *lock, const WaitLimit &limit) {
    switch (limit.kind) {
        case WaitKind::FOREVER:
            return pthread_cond_wait(cond, lock) == 0;
        case WaitKind::UNTIL:
            return pthread_cond_timedwait(cond, lock, &limit.deadline) == 0;
        case WaitKind::NOT:
            break;
    }
    return false;
}
