// SPDX-License-Identifier: MIT
// From a synchronised measurement to the file that the user finds.
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>

#include "server/requests.h"
#include "storage/quota.h"
#include "support/service_run.h"

namespace {

class ServiceSaving : public testing::Test {
protected:
    // An instrument with the application tx, and a service that follows it.
    void begin(const std::string &config, const std::string &subscriptions = "subscribe tx\n") {
        run.sim({"up"});
        run.app("tx");
        run.config("autosave yes\nautoname refseq\n" + config);
        run.subscriptions(subscriptions);
        restart();
    }
    void restart() {
        const int lists = run.countInLog("Created sync change list on app 'tx'.\n");
        run.startServing();
        ASSERT_TRUE(run.waitForLog("Created sync change list on app 'tx'.\n", lists + 1));
    }
    // Has an application synchronise and waits until the service has logged a line about it and is
    // done with all that it was told.
    void sync(const std::string &line, const std::string &app = "tx") {
        const int before = run.countInLog(line);
        sendMessage(run.queueId(), 2, syncResponse(app, 2));
        ASSERT_TRUE(run.waitForLog(line, before + 1));
        const std::string last = "There is no subscription 'nobody': nothing is removed.\n";
        const int ends = run.countInLog(last);
        ASSERT_EQ(run.request(REQ_REMOVE_SUBS, 0, 0, {"nobody"}).param1, 0);
        ASSERT_TRUE(run.waitForLog(last, ends + 1));
    }
    [[nodiscard]] std::string results() const { return run.files("tarix/data/results/tx"); }

    ServiceRun run;
    const std::string saved = "Saved results file";
};

TEST_F(ServiceSaving, WaitsForEveryActiveApplicationAndTakesTheEarliestStart) {
    run.app("rx", "1700000060");
    run.app("zero", "0");
    run.app("ninechar");
    begin("autoname time\n",
          "subscribe both:rx,tx,absent\nsubscribe none:zero\nsubscribe nine:ninechars\n");
    for (const char *app : {"rx", "zero", "ninechar"})
        sync("Command: sync on '" + std::string(app), app);
    EXPECT_EQ(run.countInLog(saved), 0);
    sync(saved, "tx");
    sync("Command: sync on 'tx'", "tx");  // the times of the first round are gone
    EXPECT_EQ(run.countInLog(saved), 1);
    run.app("tx", "1700000120");
    sync("Command: sync on 'tx'", "tx");  // a second response replaces the first
    sync(saved, "rx");
    run.app("tx", "1700000180");
    sync("Command: sync on 'tx'", "tx");
    sync(saved, "rx");  // at the same time as before
    sync("Command: sync on 'tx'", "tx");
    run.root.write("run/tarix/okra/apps/tx", "okra 1\napp tx start=1\ndamaged\n");
    const std::string folder = "tarix/data/results/both";
    sync("Error: could not save results to " + run.root.path(folder), "rx");
    EXPECT_EQ(run.files("tarix/data/results"), "both");
    EXPECT_EQ(run.files(folder),
              "2023-11-14-221320.res 2023-11-14-221420_01.res 2023-11-14-221420_02.res");
    const std::string file = run.root.read("tarix/data/results/both/2023-11-14-221320.res");
    EXPECT_LT(file.find("app rx "), file.find("app tx "));
    EXPECT_NE(file.find("app tx "), std::string::npos);
}

TEST_F(ServiceSaving, NumbersFilesOnAcrossARestart) {
    begin("reference a/b\n");
    sync(saved);
    run.stop();
    restart();
    sync(saved);
    EXPECT_EQ(results(), "a_b00001.res a_b00002.res");
    EXPECT_EQ(run.root.read("tarix/data/vorn/vorn.sav"),
              std::string("\xCB\xEA\x01\x11\0\0\0\x03", 8));
}

TEST_F(ServiceSaving, BlocksStopsOrPurgesAtItsQuotaAsClientsSay) {
    begin("max-files 1\nfull-action block\nblock-error -77\n");
    const std::string tooMany = "Error: too many result files.\n";
    const std::string folder = "tarix/data/results/tx/";
    const auto setAndWait = [&](std::uint16_t type, std::int32_t value, const char *line) {
        EXPECT_EQ(run.request(type, value, QUOTA_RESULTS).param1, 0);
        run.waitForLog(line);
    };
    const auto blocked = [&] { return run.sim({"show"}).find("disabled -77") + 1 != 0; };
    EXPECT_FALSE(blocked());
    sync(saved);
    EXPECT_TRUE(blocked());
    sync(tooMany);
    setAndWait(REQ_SET_FULLACTION, 0, "Update quota of 'tx', max.files: 1, action: 0\n");
    EXPECT_FALSE(blocked());
    sync(tooMany);
    setAndWait(REQ_SET_QUOTA, 2, "Update quota of 'tx', max.files: 2, action: 0\n");
    sync(saved);
    std::filesystem::remove(run.root.path(folder + "00001.res"));  // counted again
    sync(saved);
    EXPECT_EQ(results(), "00002.res 00003.res");

    setAndWait(REQ_SET_FULLACTION, 2, "Update quota of 'tx', max.files: 2, action: 2\n");
    run.root.write(folder + "notes.txt", "not ours");
    sync(saved);
    EXPECT_EQ(results(), "00003.res 00004.res notes.txt");
    const std::string told = "Error: the quota's purge deleted ";
    EXPECT_EQ(run.countInLog(told), 0);
    for (const char *name : {"run1.res", "run2.res"}) run.root.write(folder + name, "");
    sync(told + run.root.path(folder) + "00005.res, which was just saved");
    EXPECT_EQ(results(), "notes.txt run1.res run2.res");
    setAndWait(REQ_DELETE_ALL, QUOTA_RESULTS, "Delete results of 'tx'\n");
    EXPECT_EQ(results(), "notes.txt");
}

TEST_F(ServiceSaving, ReplacesResultsByReportsOrKeepsThem) {
    run.root.write("tarix/data/templates/t.tpl",
                   "<report>\n<iterate from=1, to=100000>\n</iterate>\n"
                   "<row cstyle='%s %u'><value var=report-name></value>"
                   "<value link=tx@frames></value></row>\n</report>\n");
    begin("reference run\nautoreport txt\n", "subscribe tx:tx:t.tpl\n");
    EXPECT_EQ(run.request(REQ_SET_QUOTA, 2, QUOTA_RESULTS).param1, 0);
    const std::string moved =
        run.root.write("old.res", "okra 1\napp tx start=1\nreg u32 frames value=8\n");
    sendMessage(run.queueId(), 2, syncResponse("tx", 2));
    run.waitForLog("  Report file   : " + run.root.path("tarix/data/reports/run00001.txt\n"));
    // While that one is merged.
    EXPECT_EQ(run.request(REQ_MAKE_REPORT, 0, 0, {"tx", moved, "t.tpl", "mine.txt"}).param1, 0);
    sync("Autoreport for tx:\n");
    sync("Autoreport for tx:\n");  // each file makes room for the next
    EXPECT_EQ(results(), "");
    EXPECT_EQ(run.files("tarix/data/reports"), "mine.txt run00001.txt run00002.txt run00003.txt");
    EXPECT_EQ(run.root.read("tarix/data/reports/mine.txt"), "\xEF\xBB\xBFmine.txt 8\r\n");
    EXPECT_EQ(run.root.read("tarix/data/reports/run00001.txt"), "\xEF\xBB\xBFrun00001 7\r\n");
    EXPECT_EQ(run.countInLog("Error"), 0);

    const auto setTemplate = [&](const std::string &name, const std::string &subs = "tx") {
        EXPECT_EQ(run.request(REQ_SET_TEMPLATE, 0, 0, {subs, name}).param1, 0);
    };
    setTemplate("t.tpl", "nobody");
    EXPECT_TRUE(run.waitForLog("There is no subscription 'nobody': no template is set.\n"));
    setTemplate("");
    sync("Not autogenerating report for 'tx' since template is not set.\n");
    setTemplate("missing.tpl");
    const std::string failed = "Error: could not generate autoreport from " +
                               run.root.path("tarix/data/results/tx/run00004.res (err=-9).\n");
    sync(failed);
    sync(failed);  // under the same number, which has not been used
    EXPECT_EQ(results(), "run00004.res run00004_01.res");
    sync("Error: too many result files.\n");
}

// Wherever the end of the process falls, what stands under its final name is whole.
TEST_F(ServiceSaving, LeavesNoHalfFileWhenItIsEndedMeanwhile) {
    run.root.write("tarix/data/templates/long.tpl",
                   "<report>\n<iterate var=i, from=1, to=500>\n"
                   "<row cstyle='%u'><value link=tx@frames></value></row>\n"
                   "</iterate>\n</report>\n");
    begin("autoreport txt\npurge yes\n", "subscribe tx:tx:long.tpl\n");
    sync("Autoreport for tx:\n");
    std::map<std::string, std::set<std::uintmax_t>> sizes;
    for (int i = 0; i < 8; ++i) {
        const int before = run.countInLog(saved);
        for (int n = 0; n < 20; ++n) sendMessage(run.queueId(), 2, syncResponse("tx", 2));
        run.waitForLog(saved, before + 1 + i);  // and then somewhere in the next one
        kill(run.pid(), i % 2 == 0 ? SIGTERM : SIGKILL);
        EXPECT_EQ(run.wait(), i % 2 == 0 ? 0 : 128 + SIGKILL);
        for (const char *folder : {"reports", "results/tx", "vorn"})
            for (const auto &file : std::filesystem::directory_iterator(
                     run.root.path(std::string("tarix/data/") + folder)))
                if (file.path().filename().string().front() != '.')
                    sizes[folder].insert(file.file_size());
        restart();
    }
    EXPECT_EQ(sizes["reports"].size(), 1);
    EXPECT_LE(sizes["results/tx"].size(), 1);
    EXPECT_EQ(sizes["vorn"], std::set<std::uintmax_t>{8});
}

}  // namespace
