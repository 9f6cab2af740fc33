// SPDX-License-Identifier: MIT
// What clients' requests do to the running service: vornctl against vorn.
#include <gtest/gtest.h>

#include "support/build_paths.h"
#include "support/service_run.h"

namespace {

class Clients : public testing::Test {
protected:
    void SetUp() override {
        run.sim({"up"});
        run.app("tx");
        run.root.write("tarix/data/templates/t.tpl",
                       "<report dict=d[1]><row cstyle='%s %s %s'><value dict>Frames</value>"
                       "<value link=tx@frames></value><value var=site></value></row></report>");
        run.root.write("dicts/d_en.lxc", "[1]\nFrames = Frames\n");
        run.root.write("dicts/d_de.lxc", "[1]\nFrames = Rahmen\n");
        run.config("autosave yes\ndict-dir " + run.root.path("dicts") + "\n");
        run.startServing();
    }

    Outcome ctl(std::vector<std::string> words) {
        words.insert(words.begin(), {binDir() + "/vornctl", "--port", std::to_string(run.port())});
        return runProgram(words);
    }
    void done(const std::vector<std::string> &words) {
        const Outcome outcome = ctl(words);
        EXPECT_EQ(outcome.status, 0) << words[0] << ": " << outcome.err;
    }
    void sync(int times) {
        run.sim({"sync", "tx"});
        ASSERT_TRUE(run.waitForLog("Saved results file", times));
    }

    ServiceRun run;
    const std::string results = "tarix/data/results/d";
    const std::string saved = run.root.path(results + "/2023-11-14-221320.res");
};

TEST_F(Clients, SubscribeSaveAndReportInTheirLanguage) {
    done({"add-subs", "d", "tx"});
    ASSERT_TRUE(run.waitForLog("Created sync change list on app 'tx'.\n"));
    sync(1);
    done({"set-var", "site", "Lab"});
    done({"report", "d", saved, "t.tpl", "a.txt"});
    done({"set-lang", "de"});
    done({"report", "d", saved, "t.tpl", "b.txt"});
    done({"report", "d", saved, "t.tpl", "c.pdf"});
    EXPECT_EQ(run.root.read("tarix/data/reports/a.txt").substr(3), "Frames 7 Lab\r\n");
    EXPECT_EQ(run.root.read("tarix/data/reports/b.txt").substr(3), "Rahmen 7 Lab\r\n");
    EXPECT_EQ(ctl({"report", "d", saved, "none.tpl", "d.txt"}).status, 1);
    EXPECT_EQ(run.files("tarix/data/reports"), "a.txt b.txt c.pdf");

    done({"set-template", "d", "t.tpl"});
    done({"autoreport", "on", "txt"});
    sync(2);
    EXPECT_EQ(ctl({"num-files"}).status, 0);
    std::string stats;  // until the results that have become a report are not counted any more
    EXPECT_TRUE(waitUntil([&] {
        stats = ctl({"--root", run.root.path(), "stats"}).out;
        return stats.find("quota \"d\": 1") != std::string::npos;
    }));
    const std::size_t highest = stats.find("highest 2");  // both events may have come at once
    if (highest != std::string::npos) stats[highest + 8] = '1';
    EXPECT_EQ(
        stats.substr(stats.find("saves")).substr(0, stats.rfind("UTC") - stats.find("saves") - 20),
        "saves: done 2, refused 0, failed 0\n"
        "reports: done 4, refused 0, no_input 1, not_created 0, not_written 0, not_merged 0\n"
        "events: received 2, dropped 0\n"
        "queue: highest 1, size 50\n"
        "quota \"reports\": 4 of 50, stop\n"
        "quota \"d\": 1 of 50, stop\n"
        "last error: ");
    EXPECT_TRUE(stats.ends_with("none.tpl': No such file or directory\n")) << stats;
    const std::string metrics = ctl({"--root", run.root.path(), "stats", "--prometheus"}).out;
    EXPECT_NE(metrics.find("\nvorn_reports_total{result=\"no_input\"} 1\n"), std::string::npos);
    done({"remove-subs", "d"});
    ASSERT_TRUE(run.waitForLog("Command: stop subs 'd'.\n"));
    EXPECT_TRUE(run.root.exists("tarix/data/reports/2023-11-14-221320.txt"));
}

TEST_F(Clients, SetQuotasDeleteFilesAndNumberThemOnAfterARestart) {
    done({"add-subs", "d", "tx"});
    ASSERT_TRUE(run.waitForLog("Created sync change list on app 'tx'.\n"));
    done({"autoreport", "off", "--reference", "run"});
    done({"set-autoseq", "7"});
    done({"set-quota", "results", "1"});
    sync(1);
    EXPECT_EQ(run.files(results), "run00007.res");
    run.sim({"sync", "tx"});
    ASSERT_TRUE(run.waitForLog("Error: too many result files.\n"));
    done({"full-action", "results", "purge"});
    sync(2);
    done({"autosave", "off"});
    run.root.write("tarix/data/reports/a.txt", "");
    done({"delete-all", "reports"});
    ASSERT_TRUE(run.waitForLog("Update quota of 'd', max.files: 1, action: 2\n"));
    EXPECT_EQ(run.files(results), "run00008.res");
    EXPECT_EQ(run.files("tarix/data/reports"), "");
    done({"delete-all", "results"});
    ASSERT_TRUE(run.waitForLog("Delete results of 'd'\n"));
    EXPECT_EQ(run.files(results), "");
    EXPECT_EQ(run.stop(), 0);
    run.startServing();
    EXPECT_NE(ctl({"get-autoseq"}).out.find("9"), std::string::npos);
}

TEST_F(Clients, OneAfterAnotherAreAllServed) {
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(run.request(266).type, 266) << i;
    EXPECT_EQ(run.request(260).param1, 1);
    EXPECT_EQ(run.request(268).param1, 1);
}

}  // namespace
