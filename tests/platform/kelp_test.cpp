// SPDX-License-Identifier: MIT
// The registry's queues: found again, replaced when gone, one for all who ask at once.
#include "kelp/kelp.h"

#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temp_dir.h"

TEST(Kelp, GivesProcessesThatAskAtOnceOneQueueAndAnotherWhenTheFileNamesNone) {
    const TempDir dir;
    setenv("VORN_ROOT", dir.path().c_str(), 1);
    dir.makeDir("run/tarix/kelp");
    int ids[2];
    ASSERT_EQ(pipe(ids), 0);
    int before = -1;
    // "gone" stands for the id of a queue that is no more.
    for (const std::string_view content : {"", "gone", "queue", "-1\n", "11111111111111111111"}) {
        SCOPED_TRACE(content);
        dir.write("run/tarix/kelp/vorn_app",
                  content == "gone" ? std::to_string(before) : std::string(content));
        std::set<int> queues;
        for (int i = 0; i < 8; ++i) {
            if (fork() != 0) continue;
            const int id = kelp_get_queue("vorn_app", 16);
            _exit(write(ids[1], &id, sizeof id) == sizeof id ? 0 : 1);
        }
        for (int i = 0; i < 8; ++i) {
            int id = -1;
            ASSERT_EQ(read(ids[0], &id, sizeof id), static_cast<ssize_t>(sizeof id));
            queues.insert(id);
            wait(nullptr);
        }
        EXPECT_EQ(queues.size(), 1u);
        EXPECT_NE(*queues.begin(), before);
        before = *queues.begin();
        EXPECT_EQ(dir.read("run/tarix/kelp/vorn_app"), std::to_string(before) + "\n");
        const int other = kelp_get_queue("other", 16);
        EXPECT_NE(other, before);
        EXPECT_EQ(msgctl(other, IPC_RMID, nullptr), 0);
        EXPECT_EQ(msgctl(before, IPC_RMID, nullptr), 0);  // it was alive
    }
}
