// SPDX-License-Identifier: MIT
#include "util/waiting.h"

#include <gtest/gtest.h>

#include "vorn/plugin.h"

TEST(WaitLimits, ReachFromNowToTheLongestTimeOut) {
    constexpr std::int64_t MILLION = 1000000;
    struct Case {
        WaitLimit (*make)(std::uint32_t);
        std::uint32_t word;
        std::int64_t milliseconds;
    };
    const Case cases[] = {
        {limitOfSeconds, 1, 1000},
        {limitOfSeconds, VORN_NO_WAIT - 1, 4294967294000},
        {limitOfMilliseconds, 999, 999},
        {limitOfMilliseconds, 1999, 1999},
        {limitOfMilliseconds, VORN_NO_WAIT - 1, 4294967294},
    };
    const auto nanoseconds = [](const struct timespec &time) {
        return std::int64_t{time.tv_sec} * 1000 * MILLION + time.tv_nsec;
    };
    for (const Case &c : cases) {
        struct timespec before;
        struct timespec after;
        clock_gettime(CLOCK_REALTIME, &before);
        const WaitLimit limit = c.make(c.word);
        clock_gettime(CLOCK_REALTIME, &after);
        EXPECT_EQ(limit.kind, WaitKind::UNTIL);
        EXPECT_LT(limit.deadline.tv_nsec, 1000 * MILLION);
        const std::int64_t start = nanoseconds(limit.deadline) - c.milliseconds * MILLION;
        EXPECT_GE(start, nanoseconds(before)) << c.word;
        EXPECT_LE(start, nanoseconds(after)) << c.word;
    }
    EXPECT_EQ(limitOfSeconds(VORN_WAIT_FOREVER).kind, WaitKind::FOREVER);
    EXPECT_EQ(limitOfMilliseconds(VORN_NO_WAIT).kind, WaitKind::NOT);
}
