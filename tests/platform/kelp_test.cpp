// SPDX-License-Identifier: MIT
// The registry's queues: found again, replaced when gone, one for all who ask at once.
#include "kelp/kelp.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <sys/msg.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

class Kelp : public testing::Test {
protected:
    Kelp() { setenv("VORN_ROOT", (dir_.path() + "/").c_str(), 1); }
    ~Kelp() override {
        for (const int id : queues_) msgctl(id, IPC_RMID, nullptr);
    }

    // kelp_get_queue; the queue goes with the test.
    int get(const char *name) {
        const int id = kelp_get_queue(name, 16);
        if (id >= 0) queues_.insert(id);
        return id;
    }

    TempDir dir_;
    std::set<int> queues_;
};

bool isAlive(int id) {
    msqid_ds status{};
    return msgctl(id, IPC_STAT, &status) == 0;
}

}  // namespace

TEST_F(Kelp, KeepsAQueueUntilItIsGoneAndMakesAnotherThen) {
    dir_.makeDir("run/tarix/kelp");
    const int first = get("vorn_app");
    ASSERT_TRUE(isAlive(first));
    EXPECT_EQ(dir_.read("run/tarix/kelp/vorn_app"), std::to_string(first) + "\n");
    EXPECT_EQ(get("vorn_app"), first);
    const int other = get("other");
    EXPECT_NE(other, first);

    msgctl(first, IPC_RMID, nullptr);
    for (const std::string &content : {std::to_string(first), std::string(), std::string("queue"),
                                       std::string("-1\n"), std::string(100, '1')}) {
        SCOPED_TRACE(content);
        dir_.write("run/tarix/kelp/vorn_app", content);
        const int next = get("vorn_app");
        EXPECT_NE(next, first);
        EXPECT_TRUE(isAlive(next));
        EXPECT_EQ(dir_.read("run/tarix/kelp/vorn_app"), std::to_string(next) + "\n");
    }
    dir_.write("run/tarix/kelp/vorn_app", " " + std::to_string(other));
    EXPECT_EQ(get("vorn_app"), other);
}

TEST_F(Kelp, GivesProcessesThatAskAtOnceTheSameQueue) {
    dir_.makeDir("run/tarix/kelp");
    int ids[2];
    ASSERT_EQ(pipe(ids), 0);
    for (int i = 0; i < 8; ++i) {
        if (fork() != 0) continue;
        const int id = kelp_get_queue("vorn_app", 16);
        _exit(write(ids[1], &id, sizeof id) == sizeof id ? 0 : 1);
    }
    for (int i = 0; i < 8; ++i) {
        int id = -1;
        ASSERT_EQ(read(ids[0], &id, sizeof id), static_cast<ssize_t>(sizeof id));
        queues_.insert(id);
        wait(nullptr);
    }
    EXPECT_EQ(queues_.size(), 1u);
    EXPECT_TRUE(isAlive(*queues_.begin()));
    close(ids[0]);
    close(ids[1]);
}
