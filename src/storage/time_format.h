// SPDX-License-Identifier: MIT
// Durations and dates as reports show them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

// Reads the rules of the local time, which formatAbsTime would take for UTC if there were no memory
// when it first needs them. 0 or ENOMEM. Called once at the start, before anything asks for a time.
int loadLocalTime();

// A duration in seconds as "01:02:05", from a day on as "1/01:01:01". Returns 0.
int formatRelTime(char *buffer, std::size_t size, std::int64_t seconds);

// The local time in ctime's form without its line end. The buffer has 32 bytes. Returns 0; a time
// that ctime cannot express gives an empty text.
int formatAbsTime(char *buffer, std::time_t time);
