// SPDX-License-Identifier: MIT
#include "listener/commands.h"

#include <climits>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/log_capture.h"
#include "util/guards.h"

namespace {

HeapGuard<MeasCommand> take() {
    return HeapGuard<MeasCommand>(
        static_cast<MeasCommand *>(mqGet(&commandQueue, nullptr, nullptr, VORN_NO_WAIT)));
}

// What a start command owns; the leak check of the sanitizers sees when nobody releases it.
Subscription *record() {
    return static_cast<Subscription *>(std::calloc(1, sizeof(Subscription)));
}

TEST(Commands, CarryTheirFieldsCutToFitAndAreRefusedByAFullQueue) {
    ASSERT_EQ(initCommandQueue(), MQ_OK);
    EXPECT_EQ(stopMeasSubs("sixteen-letters-"), POST_OK);
    EXPECT_EQ(setSubsTemplate("ninechars", std::string(70, 't').c_str()), POST_OK);
    EXPECT_EQ(updateAllSubsQuotas(), POST_OK);
    EXPECT_EQ(deleteAllSubsFiles(), POST_OK);
    const HeapGuard<MeasCommand> stop = take();
    EXPECT_EQ(stop->any.code, CMD_STOP_SUBS);
    EXPECT_STREQ(stop->subs.name, "sixteen-letters");
    const HeapGuard<MeasCommand> setTemplate = take();
    EXPECT_EQ(setTemplate->any.code, CMD_SET_TEMPLATE);
    EXPECT_STREQ(setTemplate->setTemplate.name, "ninechar");
    EXPECT_STREQ(setTemplate->setTemplate.templateName, std::string(63, 't').c_str());
    EXPECT_EQ(take()->any.code, CMD_UPDATE_QUOTAS);
    EXPECT_EQ(take()->any.code, CMD_DELETE_ALL);
    EXPECT_EQ(take(), nullptr);

    const LogCapture log;
    for (int i = 0; i < COMMAND_QUEUE_SIZE; ++i) ASSERT_EQ(startMeasSubs(record()), POST_OK);
    EXPECT_EQ(log.text(), "");
    const HeapGuard<Subscription> refused(record());  // stays the caller's
    EXPECT_EQ(startMeasSubs(refused.get()), POST_REFUSED);
    EXPECT_EQ(log.text(), "Overflow in command queue.\n");
    mqFlush(&commandQueue);  // releases the fifty records with their commands
    EXPECT_EQ(stopMeasSubs("tx"), POST_OK);
    mqFree(&commandQueue);
}

TEST(Commands, OfTheStartWaitForAPlaceInAFullQueue) {
    ASSERT_EQ(initCommandQueue(), MQ_OK);
    for (int i = 0; i < COMMAND_QUEUE_SIZE; ++i) ASSERT_EQ(stopMeasSubs("tx"), POST_OK);
    const std::string state = "/proc/self/task/" + std::to_string(gettid()) + "/stat";
    std::thread taker([&state] {  // takes one when this thread waits
        while (std::ifstream(state).ignore(INT_MAX, ')').ignore(1).peek() != 'S') {
        }
        freeCommand(takeCommand());
    });
    EXPECT_EQ(startInitialSubs(record()), POST_OK);
    taker.join();
    EXPECT_EQ(mqNumElems(&commandQueue), COMMAND_QUEUE_SIZE);
    mqFree(&commandQueue);
}

}  // namespace
