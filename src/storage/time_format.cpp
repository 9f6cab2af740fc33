// SPDX-License-Identifier: MIT
#include "storage/time_format.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

// Report times run past 2038, where 32 bits end; _TIME_BITS=64 of the build sees to it.
static_assert(sizeof(std::time_t) == 8);

int loadLocalTime() {
    // Beyond the zone's table stand rules, which name summer and winter time when first used.
    constexpr std::time_t WINTER = 4102444800;  // of 2100
    constexpr std::time_t SUMMER = WINTER + std::time_t{182} * 86400;
    errno = 0;
    tzset();
    std::tm broken{};
    localtime_r(&WINTER, &broken);
    localtime_r(&SUMMER, &broken);
    return errno == ENOMEM ? ENOMEM : 0;
}

int formatRelTime(char *buffer, std::size_t size, std::int64_t seconds) {
    constexpr std::int64_t DAY = 86400;
    // Hours, minutes and seconds are those of a date so long after 1970 in UTC, which knows no leap
    // seconds: the remainder, counted from the midnight before.
    const int ofDay = static_cast<int>((seconds % DAY + DAY) % DAY);
    const int hours = ofDay / 3600;
    const int minutes = ofDay / 60 % 60;
    if (seconds < DAY)
        std::snprintf(buffer, size, "%02d:%02d:%02d", hours, minutes, ofDay % 60);
    else
        std::snprintf(buffer, size, "%" PRId64 "/%02d:%02d:%02d", seconds / DAY, hours, minutes,
                      ofDay % 60);
    return 0;
}

int formatAbsTime(char *buffer, std::time_t time) {
    if (ctime_r(&time, buffer) == nullptr) *buffer = '\0';
    buffer[std::strcspn(buffer, "\n")] = '\0';
    return 0;
}
