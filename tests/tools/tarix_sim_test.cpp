// SPDX-License-Identifier: MIT
// The simulator, run as a program, and what it tells the service.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/msg.h>

#include "okra/okra.h"
#include "support/build_paths.h"
#include "support/case_runner.h"
#include "support/program.h"
#include "support/temp_dir.h"
#include "support/test_queue.h"

namespace {

class TarixSim : public testing::Test {
protected:
    TarixSim() { setenv("VORN_ROOT", root_.path().c_str(), 1); }

    // Runs the simulator; its output, or "1: " and the line on standard error.
    static std::string sim(std::vector<std::string> words) {
        words.insert(words.begin(), binDir() + "/tarix-sim");
        const Outcome outcome = runProgram(words);
        return (outcome.status == 0 ? "" : std::to_string(outcome.status) + ": ") + outcome.err +
               outcome.out;
    }

    // Creates an application with a change list to the queue.
    void createWatched(const std::string &app) const {
        EXPECT_EQ(sim({"create", app}), "");
        char request[4000] = {2, 's', 'y', 'n', 'c'};
        const std::int32_t id = queue_.id();
        std::memcpy(request + 24, &id, sizeof id);
        EXPECT_EQ(APX_Create_Chg_List(APX_Get_Handle(app.c_str()), request, sizeof request), 0);
    }

    TempDir root_;
    TestQueue queue_;
};

}  // namespace

TEST_F(TarixSim, MakesAndRemovesAWorldAndLeavesTheData) {
    root_.write("etc/tarix/vorn.cfg", "mine");
    EXPECT_EQ(sim({"up"}), "");
    EXPECT_EQ(sim({"up"}), "");
    root_.write("run/tarix/kelp/vorn_app", std::to_string(queue_.id()) + "\n");
    EXPECT_EQ(sim({"create", "ifstats"}), "");
    EXPECT_EQ(sim({"create", "ifstats"}), "1: tarix-sim: application 'ifstats' runs already\n");
    EXPECT_EQ(sim({"down"}), "");
    EXPECT_FALSE(queue_.exists());
    EXPECT_FALSE(root_.exists("run/tarix"));
    EXPECT_EQ(root_.read("etc/tarix/vorn.cfg"), "mine");
    EXPECT_EQ(sim({"show"}), "1: tarix-sim: the application manager is not ready\n");
}

// The service's tests see the other events and responses.
TEST_F(TarixSim, TellsSubscribersAndShowsWhatItWasTold) {
    EXPECT_EQ(sim({"up"}), "");
    EXPECT_EQ(sim({"show"}), "control unset\n");
    EXPECT_EQ(APX_Subscribe_Events(queue_.id(), 1, 0xFFFFFFFFu), 0);
    {
        const TestQueue gone;  // gets nothing, and keeps no other from getting it
        EXPECT_EQ(APX_Subscribe_Events(gone.id(), 1, 0xFFFFFFFFu), 0);
    }
    const std::string file = root_.write(
        "a.res", "okra 1\napp other start=5 stop=6 regs=9\n\n#\nreg u8 \"a b\" value=1 invalid\n");
    EXPECT_EQ(sim({"create", "b", file}), "");
    EXPECT_EQ(queue_.take(), "event 1 b");
    createWatched("fifteen-letters");
    EXPECT_EQ(queue_.take(), "event 1 fifteen-letters");
    EXPECT_EQ(sim({"start", "fifteen-letters", "100"}), "");
    EXPECT_EQ(sim({"sync", "fifteen-letters", "0"}), "");
    EXPECT_EQ(queue_.take(), "response fifteen-letters 2");
    EXPECT_EQ(sim({"respond", "fifteen-letters", "255"}), "");
    EXPECT_EQ(queue_.take(), "response fifteen-letters 255");
    EXPECT_EQ(sim({"event", "unknown", "0x80000003"}), "");
    EXPECT_EQ(queue_.take(), "event 2147483651 unknown");
    EXPECT_EQ(sim({"disable", "b"}), "");
    const unsigned char off[8] = {2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(APX_Set_Global_Meas_Ctrl(off), 0);
    const std::string queue = std::to_string(queue_.id());
    root_.write("run/tarix/kelp/vorn_app", queue);
    EXPECT_EQ(sim({"show"}),
              "app b start=5 stop=6 disabled\n"
              "app fifteen-letters start=100 stop=0 enabled\n"
              "list fifteen-letters/sync queue=" +
                  queue + "\nqueue vorn_app id=" + queue + " messages=0\ncontrol disabled -1\n");
    EXPECT_EQ(sim({"start", "b"}), "1: tarix-sim: new measurements are disabled (code -1)\n");
    EXPECT_EQ(sim({"destroy", "fifteen-letters"}), "");
    EXPECT_EQ(queue_.take(), "event 2 fifteen-letters");
    EXPECT_FALSE(root_.exists("run/tarix/okra/changes/fifteen-letters"));

    msqid_ds limits{};
    msgctl(queue_.id(), IPC_STAT, &limits);
    limits.msg_qbytes = 10;
    msgctl(queue_.id(), IPC_SET, &limits);
    EXPECT_EQ(sim({"event", "a", "1"}),
              "1: tarix-sim: queue " + queue + ": full, the message is lost\n");
}

TEST_F(TarixSim, TellsEachFailureInOneLine) {
    EXPECT_EQ(sim({"up"}), "");
    root_.write("bad.res", "okra 1\napp a\nreg u8 x value=256\n");
    root_.write("two.res", "okra 1\napp a\napp b\n");
    root_.write("none.res", "okra 1\n");
    root_.makeDir("run/tarix/okra/apps/folder");
    runCases("tools/cases/tarix_sim.txt", 1, [&](const CaseFields &row) -> CaseFields {
        std::istringstream input(row[0]);
        std::vector<std::string> words;
        for (std::string word; input >> word;)
            words.push_back(word.ends_with(".res") ? root_.path(word) : word);
        return {sim(words)};
    });
    EXPECT_FALSE(root_.exists("run/tarix/okra/apps/a"));
}
