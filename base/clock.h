// SPDX-License-Identifier: MIT
// The clock of waits: it goes on evenly, whatever is done to the time of day.
#pragma once

#include <cstdint>
#include <ctime>

inline std::int64_t monotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}
