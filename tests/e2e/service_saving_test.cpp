// SPDX-License-Identifier: MIT
// From a synchronised measurement to the file that the user finds.
#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>

#include "support/service_run.h"

namespace {

constexpr std::uint16_t REQ_REMOVE_SUBS = 258;
constexpr std::uint16_t REQ_SET_QUOTA = 259;
constexpr std::uint16_t REQ_SET_TEMPLATE = 267;
constexpr std::uint16_t REQ_SET_FULLACTION = 269;
constexpr std::uint16_t REQ_DELETE_ALL = 272;
constexpr std::int32_t QUOTA_RESULTS = 0;

constexpr char frames[] =
    "<report>\n"
    "<row cstyle='%s'><value var=report-name></value></row>\n"
    "<row cstyle='%s %u'><value>Frames</value><value link=tx@frames></value></row>\n"
    "</report>\n";

class ServiceSaving : public testing::Test {
protected:
    // An instrument with the application tx, and a service that follows it.
    void begin(const std::string &config, const std::string &subscriptions = "subscribe tx\n") {
        run.sim({"up"});
        run.app("tx");
        run.config("autosave yes\n" + config);
        run.subscriptions(subscriptions);
        run.startServing();
        ASSERT_TRUE(run.waitForLog("Created sync change list on app 'tx'.\n"));
    }

    // Has tx synchronise and waits until the service has logged a line about it and is done.
    void sync(const std::string &line) {
        const int before = run.countInLog(line);
        run.sim({"sync", "tx"});
        ASSERT_TRUE(run.waitForLog(line, before + 1));
        const std::string last = "Command: stop subs 'nobody'.\n";
        const int ends = run.countInLog(last);
        ASSERT_EQ(run.request(REQ_REMOVE_SUBS, 0, 0, {"nobody"}).param1, 0);
        ASSERT_TRUE(run.waitForLog(last, ends + 1));
    }

    ServiceRun run;
};

TEST_F(ServiceSaving, NamesFilesByTheEarliestStartAndMovesOlderOnesAside) {
    run.sim({"up"});
    run.app("tx", "1700000000");
    run.app("rx", "1700000060");
    run.config("autosave yes\n");
    run.subscriptions("subscribe both:rx,tx,absent\n");
    run.startServing();
    for (int i = 1; i <= 2; ++i) {
        run.sim({"sync", "rx"});
        run.waitForLog("Command: sync on 'rx' (autosave=1).\n", i);
        EXPECT_EQ(run.countInLog("Saved results file"), i - 1);
        run.sim({"sync", "tx"});
        run.waitForLog("Saved results file " + run.root.path("tarix/data/results/both/") +
                           "2023-11-14-221320.res.\n",
                       i);
    }
    EXPECT_EQ(run.files("tarix/data/results/both"),
              "2023-11-14-221320.res 2023-11-14-221320_01.res");
    const std::string saved = run.root.read("tarix/data/results/both/2023-11-14-221320.res");
    EXPECT_LT(saved.find("app rx "), saved.find("app tx "));
    EXPECT_NE(saved.find("app tx "), std::string::npos);
}

TEST_F(ServiceSaving, NumbersFilesOnAcrossARestart) {
    begin("autoname refseq\nreference a/b\n");
    sync("Saved results file");
    run.stop();
    run.startServing();
    run.waitForLog("Created sync change list on app 'tx'.\n", 2);
    sync("Saved results file");
    EXPECT_EQ(run.files("tarix/data/results/tx"), "a_b00001.res a_b00002.res");
    EXPECT_EQ(run.root.read("tarix/data/vorn/vorn.sav"),
              std::string("\xCB\xEA\x01\x11\0\0\0\x03", 8));
}

TEST_F(ServiceSaving, StopsAtTheQuotaUntilAClientRaisesIt) {
    begin("autoname refseq\nmax-files 2\nfull-action stop\n");
    sync("Saved results file");
    sync("Saved results file");
    sync("Error: too many result files.\n");
    EXPECT_EQ(run.request(REQ_SET_QUOTA, 3, QUOTA_RESULTS).param1, 0);
    run.waitForLog("Update quota of 'tx', max.files: 3, action: 0\n");
    sync("Saved results file");
    std::filesystem::remove(run.root.path("tarix/data/results/tx/00001.res"));  // counted again
    sync("Saved results file");
    EXPECT_EQ(run.files("tarix/data/results/tx"), "00002.res 00003.res 00004.res");
}

TEST_F(ServiceSaving, PurgesTheOldestFilesAboveTheQuota) {
    run.root.write("tarix/data/results/tx/notes.txt", "not ours");
    begin("autoname refseq\nmax-files 2\npurge yes\n");
    for (int i = 0; i < 4; ++i) sync("Saved results file");
    EXPECT_TRUE(waitUntil(
        [&] { return run.files("tarix/data/results/tx") == "00003.res 00004.res notes.txt"; }));
}

TEST_F(ServiceSaving, BlocksMeasurementsWhileAQuotaIsFull) {
    begin("autoname refseq\nmax-files 1\nfull-action block\nblock-error -77\n");
    const auto control = [&] { return run.sim({"show"}); };
    EXPECT_NE(control().find("enabled"), std::string::npos);
    sync("Saved results file");
    run.waitForLog("Measurement enable control: disabled\n");
    EXPECT_NE(control().find("disabled -77"), std::string::npos) << control();
    sync("Error: too many result files.\n");

    EXPECT_EQ(run.request(REQ_DELETE_ALL, QUOTA_RESULTS).param1, 0);
    run.waitForLog("Measurement enable control: enabled\n", 3);  // two at the start
    EXPECT_EQ(control().find("disabled -77"), std::string::npos) << control();
    EXPECT_EQ(run.files("tarix/data/results/tx"), "");
    sync("Saved results file");
    run.waitForLog("Measurement enable control: disabled\n", 2);
    EXPECT_EQ(run.request(REQ_SET_FULLACTION, 2, QUOTA_RESULTS).param1, 0);  // purge
    run.waitForLog("Measurement enable control: enabled\n", 4);
}

TEST_F(ServiceSaving, ReplacesResultsByReports) {
    run.root.write("tarix/data/templates/frames.tpl", frames);
    begin("autoname refseq\nreference run\nautoreport txt\nmax-files 2\n",
          "subscribe tx:tx:frames.tpl\n");
    for (int i = 0; i < 2; ++i) sync("Autoreport for tx:\n");  // each file makes room for the next
    EXPECT_EQ(run.files("tarix/data/results/tx"), "");
    EXPECT_EQ(run.files("tarix/data/reports"), "run00001.txt run00002.txt");
    EXPECT_EQ(run.root.read("tarix/data/reports/run00001.txt"),
              "\xEF\xBB\xBFrun00001\r\nFrames 7\r\n");
    EXPECT_EQ(run.countInLog("Error"), 0);
}

TEST_F(ServiceSaving, KeepsAndCountsResultsWithoutAReport) {
    begin("autoname refseq\nautoreport pdf\nmax-files 2\n");
    sync("Not autogenerating report for 'tx' since template is not set.\n");
    EXPECT_EQ(run.request(REQ_SET_TEMPLATE, 0, 0, {"tx", "missing.tpl"}).param1, 0);
    run.waitForLog("Command: set template of 'tx' to 'missing.tpl'.\n");
    const std::string failed = "Error: could not generate autoreport from " +
                               run.root.path("tarix/data/results/tx/00001.res (err=-9).\n");
    sync(failed);
    sync(failed);  // under the same number, which has not been used
    EXPECT_EQ(run.files("tarix/data/results/tx"), "00001.res 00001_01.res");
    EXPECT_EQ(run.files("tarix/data/reports"), "");
    sync("Error: too many result files.\n");
    EXPECT_FALSE(run.root.exists("tarix/data/vorn/vorn.sav"));
}

// Wherever the end of the process falls, what stands under its final name is whole.
TEST_F(ServiceSaving, LeavesNoHalfFileWhenItIsEndedMeanwhile) {
    run.root.write("tarix/data/templates/long.tpl",
                   "<report>\n<iterate var=i, from=1, to=500>\n"
                   "<row cstyle='%u'><value link=tx@frames></value></row>\n"
                   "</iterate>\n</report>\n");
    begin("autoname refseq\nautoreport txt\npurge yes\n", "subscribe tx:tx:long.tpl\n");
    sync("Autoreport for tx:\n");
    const std::string whole = run.root.read("tarix/data/reports/00001.txt");
    std::string saved;

    for (int i = 0; i < 12; ++i) {
        const int lists = run.countInLog("Created sync change list on app 'tx'.\n");
        for (int n = 0; n < 20; ++n) sendMessage(run.queueId(), 2, syncResponse("tx", 2));
        std::this_thread::sleep_for(std::chrono::microseconds(700 * i));  // somewhere meanwhile
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(run.stop(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
        for (const auto &file :
             std::filesystem::directory_iterator(run.root.path("tarix/data/reports"))) {
            const std::string name = file.path().filename().string();
            if (name.front() != '.') {
                EXPECT_EQ(run.root.read("tarix/data/reports/" + name).size(), whole.size());
            }
        }
        for (const auto &file :
             std::filesystem::directory_iterator(run.root.path("tarix/data/results/tx"))) {
            const std::string name = file.path().filename().string();
            if (name.front() == '.') continue;
            const std::string content = run.root.read("tarix/data/results/tx/" + name);
            if (saved.empty()) saved = content;
            EXPECT_EQ(content.size(), saved.size());
        }
        const std::string state = run.root.read("tarix/data/vorn/vorn.sav");
        EXPECT_TRUE(state.size() == 8 || !run.root.exists("tarix/data/vorn/vorn.sav"));
        run.startServing();
        ASSERT_TRUE(run.waitForLog("Created sync change list on app 'tx'.\n", lists + 1));
    }
}

}  // namespace
