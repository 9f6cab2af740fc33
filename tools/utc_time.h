// SPDX-License-Identifier: MIT
// Points in time for people.
#pragma once

#include <ctime>
#include <string>

// "2026-05-01 10:15:00 UTC"; empty for a time that no calendar has.
//   seconds  since 1970-01-01
std::string utcTime(std::time_t seconds);
