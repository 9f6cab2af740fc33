// SPDX-License-Identifier: MIT
#include "listener/commands.h"

#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/guards.h"
#include "support/log_capture.h"

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

TEST(Commands, OfTheStartWaitForAPlaceInAFullQueue) {
    ASSERT_EQ(initCommandQueue(), MQ_OK);
    for (int i = 0; i < COMMAND_QUEUE_SIZE; ++i) ASSERT_EQ(stopMeasSubs("tx"), POST_OK);
    const std::string state = "/proc/self/task/" + std::to_string(gettid()) + "/stat";
    std::thread taker([&state] {  // takes one when this thread waits
        while (std::ifstream(state).ignore(INT_MAX, ')').ignore(1).peek() != 'S') {
        }
        freeCommand(takeCommand(VORN_NO_WAIT));
    });
    auto *subscription = static_cast<Subscription *>(std::calloc(1, sizeof(Subscription)));
    EXPECT_EQ(startInitialSubs(subscription), POST_OK);
    taker.join();
    while (MeasCommand *command = takeCommand(VORN_NO_WAIT)) freeCommand(command);
}

}  // namespace
