// SPDX-License-Identifier: MIT
#include "listener/commands.h"

#include <string>

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "util/guards.h"

namespace {

TEST(Commands, AreCutToFitAndTellWhatIsLost) {
    ASSERT_EQ(initCommandQueue(), MQ_OK);
    EXPECT_EQ(setSubsTemplate("ninechars", std::string(70, 't').c_str()), POST_OK);
    const HeapGuard<MeasCommand> command(takeCommand(VORN_NO_WAIT));
    EXPECT_STREQ(command->setTemplate.name, "ninechar");
    EXPECT_STREQ(command->setTemplate.templateName, std::string(63, 't').c_str());
    EXPECT_EQ(takeCommand(VORN_NO_WAIT), nullptr);

    const LogCapture log;
    EXPECT_EQ(postCommand(nullptr, POST_EVENT), POST_REFUSED);
    EXPECT_EQ(log.text(), "Error: no memory for a command to the listener; it is lost.\n");
}

}  // namespace
