// SPDX-License-Identifier: MIT
// What the daemon framework sees of the service; that it starts and ends is tested on the program.
#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "core/status.h"
#include "listener/listener.h"
#include "support/log_capture.h"

namespace {

TEST(Status, FollowsTheListenerAndIsCutToTheBuffer) {
    struct Case {
        std::int32_t status;
        int code;
        const char *text;
    };
    const Case cases[] = {
        {0, 1, "Server is running OK."},
        {1, 2, "KELP server is not ready. Retrying..."},
        {2, 2, "KELP queue not created. Retrying..."},
        {3, 2, "Application manager is not ready. Retrying..."},
        {4, 3, "Could not subscribe to application events."},
        {7, 3, "Unknown status."},
        {-1, 3, "Unknown status."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.status);
        vorn_status = c.status;
        EXPECT_EQ(vorn_ops.statusCode(0), c.code);
        char text[64];
        EXPECT_EQ(vorn_ops.statusText(0, text, sizeof text), 0);
        EXPECT_STREQ(text, c.text);
    }

    char small[12] = "###########";
    EXPECT_EQ(vorn_ops.description(0, small, 10), 0);
    EXPECT_STREQ(small, "VORN - Co");
    EXPECT_EQ(small[10], '#');
    EXPECT_EQ(vorn_ops.statusText(0, small, 0), 0);
    EXPECT_STREQ(small, "VORN - Co");
}

TEST(Status, LeavesTheDebugLevelToTheFramework) {
    opt_debug = 1;
    const LogCapture log;
    EXPECT_EQ(vorn_ops.setDebugLevel(5), 0);
    EXPECT_EQ(log.text(), "Debug level set to 5\n");
    EXPECT_EQ(opt_debug, 1);
    EXPECT_EQ(vorn_ops.request2(3) | vorn_ops.request4(3), 0);
}

}  // namespace
