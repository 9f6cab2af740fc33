// SPDX-License-Identifier: MIT
#include "storage/time_format.h"

#include <cstdlib>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

TEST(Durations, ShowDaysFromADayOn) {
    const std::pair<std::int64_t, const char *> cases[] = {
        {0, "00:00:00"},       {3725, "01:02:05"},    {86399, "23:59:59"},
        {86400, "1/00:00:00"}, {90061, "1/01:01:01"}, {4294967295, "49710/06:28:15"},
        {-1, "23:59:59"},
    };
    for (const auto &[seconds, expected] : cases) {
        char text[32];
        EXPECT_EQ(formatRelTime(text, sizeof text, seconds), 0);
        EXPECT_STREQ(text, expected);
    }
    char small[5];
    formatRelTime(small, sizeof small, 86400);
    EXPECT_STREQ(small, "1/00");
}

TEST(Dates, AreLocalTimesWithoutLineEndAndRunPast2038) {
    setenv("TZ", "CET-1", 1);
    tzset();
    const std::pair<std::time_t, const char *> cases[] = {
        {0, "Thu Jan  1 01:00:00 1970"},
        {4294967295, "Sun Feb  7 07:28:15 2106"},
        {std::numeric_limits<std::time_t>::max(), ""},
    };
    for (const auto &[time, expected] : cases) {
        char text[32] = "unchanged";
        EXPECT_EQ(formatAbsTime(text, time), 0);
        EXPECT_STREQ(text, expected);
    }
}
