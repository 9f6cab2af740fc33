// SPDX-License-Identifier: MIT
// Durations and dates as reports show them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

// A duration in seconds as "01:02:05", from a day on as "1/01:01:01". Returns 0.
int formatRelTime(char *buffer, std::size_t size, std::int64_t seconds);

// The local time in ctime's form without its line end. The buffer has 32 bytes. Returns 0; a time
// that ctime cannot express gives an empty text.
int formatAbsTime(char *buffer, std::time_t time);
