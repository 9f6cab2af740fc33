// SPDX-License-Identifier: MIT
#include "report/user_vars.h"

#include <string>
#include <thread>

#include <gtest/gtest.h>

TEST(UserVars, AreCopiedCutToFitAndEmptyWhenUnknown) {
    EXPECT_EQ(initUserVars(), KV_OK);
    EXPECT_EQ(setUserVar(&kv_urv, "site", "Lab 1"), KV_OK);
    EXPECT_EQ(initUserVars(), KV_OK);  // keeps what is there
    char text[8] = "old";
    EXPECT_TRUE(copyUserVar(&kv_urv, "site", text, sizeof text));
    EXPECT_STREQ(text, "Lab 1");
    EXPECT_EQ(setUserVar(&kv_urv, "site", std::string(500, 'x').c_str()), KV_OK);
    EXPECT_TRUE(copyUserVar(&kv_urv, "site", text, sizeof text));
    EXPECT_STREQ(text, "xxxxxxx");
    EXPECT_FALSE(copyUserVar(&kv_urv, "Site", text, sizeof text));
    EXPECT_STREQ(text, "");
}

TEST(UserVars, ReadWhileTheyAreReplacedAreTheOldOrTheNewText) {
    initUserVars();
    const std::string texts[] = {std::string(100, 'a'), std::string(100, 'b')};
    setUserVar(&kv_urv, "v", texts[0].c_str());
    std::thread writer([&texts] {
        for (int i = 0; i < 500; ++i) setUserVar(&kv_urv, "v", texts[i % 2].c_str());
    });
    for (int i = 0; i < 500; ++i) {
        char text[128];
        EXPECT_TRUE(copyUserVar(&kv_urv, "v", text, sizeof text));
        EXPECT_TRUE(text == texts[0] || text == texts[1]) << text;
    }
    writer.join();
}
