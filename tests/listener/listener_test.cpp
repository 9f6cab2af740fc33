// SPDX-License-Identifier: MIT
// The listener's threads in this process, on the host platform in a directory of the test's own.
#include "listener/listener.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <sys/msg.h>

#include "core/options.h"
#include "listener/commands.h"
#include "report/user_vars.h"
#include "support/log_capture.h"
#include "support/service_run.h"
#include "support/test_root.h"

namespace {

void addApp(const std::string &name, const std::string &start) {
    testRoot().write("run/tarix/okra/apps/" + name,
                     "okra 1\napp " + name + " start=" + start + "\nreg u32 frames value=7\n");
}

class Listener : public testing::Test {
protected:
    void SetUp() override {
        testRoot().makeDir("run/tarix/kelp");
        testRoot().makeDir("run/tarix/okra");
        testRoot().makeDir("tarix/data/results");
        ASSERT_EQ(setDefaults(), 0);
        ASSERT_EQ(initUserVars(), KV_OK);
        initMeasListener();
        ASSERT_EQ(startMeasListener(), LISTENER_OK);
        EXPECT_EQ(vorn_status, LISTENER_CONNECTED);
    }
    void TearDown() override { msgctl(kelpQueueId, IPC_RMID, nullptr); }

    void subscribe(const std::string &name, const std::vector<std::string> &apps,
                   const std::string &templateName = "") {
        auto *subscription = static_cast<Subscription *>(std::calloc(1, sizeof(Subscription)));
        name.copy(subscription->name, NAME_SIZE - 1);
        for (const std::string &app : apps)
            app.copy(subscription->apps[subscription->numApps++].appName, NAME_SIZE - 1);
        templateName.copy(subscription->templateName, sizeof subscription->templateName - 1);
        ASSERT_EQ(startMeasSubs(subscription), POST_OK);
    }

    // Waits until every command posted so far is done: the last one ends the wait with its line.
    void finish() {
        const std::string last = "Command: stop subs 'end" + std::to_string(++ends_) + "'.\n";
        ASSERT_EQ(stopMeasSubs(("end" + std::to_string(ends_)).c_str()), POST_OK);
        ASSERT_TRUE(waitUntil([&] { return log.text().find(last) != std::string::npos; }));
    }
    void sync(const std::string &app) {
        const std::string done = "Command: sync on '" + app.substr(0, 8) + "'";
        const std::string before = log.text();
        sendMessage(kelpQueueId, 2, syncResponse(app, 2));
        ASSERT_TRUE(
            waitUntil([&] { return log.text().find(done, before.size()) != std::string::npos; }));
        finish();
    }
    // The lines since the last call that begin so.
    std::string newLines(const std::string &beginning) {
        std::istringstream lines(log.text().substr(read_));
        read_ = log.text().size();
        std::string found;
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(beginning)) found += line + "\n";
        return found;
    }

    LogCapture log{2};

private:
    int ends_ = 0;
    std::size_t read_ = 0;
};

TEST_F(Listener, SavesWhenEveryActiveApplicationHasSynchronised) {
    opt_autosave = 1;
    addApp("early", "1700000000");
    addApp("late", "1700000060");
    addApp("zero", "0");
    subscribe("pair", {"late", "early", "absent"});
    subscribe("pair", {"early"});          // the name is taken
    subscribe("ninechar", {"ninechars"});  // an application's name has at most 8 characters
    subscribe("none", {"zero"});
    addApp("ninechar", "1700000000");
    finish();
    newLines("");

    const std::string saved =
        "Saved results file " + testRoot().path("tarix/data/results/pair/2023-11-14-22");
    const auto expectSaves = [&](const std::string &app, const std::string &time) {
        sync(app);
        EXPECT_EQ(newLines("Saved"), time.empty() ? "" : saved + time + ".res.\n") << app;
    };
    expectSaves("late", "");
    expectSaves("early", "1320");
    expectSaves("early", "");  // the times of the first round are gone
    addApp("early", "1700000120");
    expectSaves("early", "");  // a second response replaces the first
    expectSaves("late", "1420");
    expectSaves("ninechars", "");
    expectSaves("zero", "");  // a start time of 0 is none
    expectSaves("absent", "");

    opt_autosave = 0;
    expectSaves("late", "");
    expectSaves("early", "");
    EXPECT_EQ(newLines("Error"), "");
}

TEST_F(Listener, NamesFilesByTheOptionsAndTellsTheTemplates) {
    struct Case {
        std::int16_t format;
        const char *reference;
        std::int32_t sequence;
        const char *variable;
        const char *file;
        std::int32_t next;
    };
    const std::string longest(31, 'r');
    const std::string longName = longest + "00007";
    const Case cases[] = {
        {0, "run", 7, "2023-11-14-221320", "2023-11-14-221320", 7},
        {1, "run", 7, "run00007", "run00007", 8},
        {1, longest.c_str(), 7, longName.c_str(), longName.c_str(), 8},
        {1, "a/b", 8, "a/b00008", "a_b00008", 9},
        {1, "", 99999, "99999", "99999", 100000},
        {1, "", -3, "-0003", "-0003", -2},
        {1, "", 2147483647, "2147483647", "2147483647", -2147483647 - 1},
        {2, "run", 7, "report", "report", 7},
    };
    opt_autosave = 1;
    testRoot().path().copy(opt_resdir, sizeof opt_resdir - 1);  // long names need a short path
    opt_resdir[testRoot().path().size()] = '\0';
    addApp("tx", "1700000000");
    subscribe("tx", {"tx"});
    finish();
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        opt_autoname = c.format;
        opt_refname.set(c.reference);
        opt_autoseq = c.sequence;
        newLines("");
        sync("tx");
        EXPECT_EQ(newLines("Saved"),
                  "Saved results file " + testRoot().path("tx/") + c.file + ".res.\n");
        char variable[64];
        EXPECT_TRUE(copyUserVar(&kv_urv, "report-name", variable, sizeof variable));
        EXPECT_STREQ(variable, c.variable);
        EXPECT_EQ(opt_autoseq, c.next);
    }
}

TEST_F(Listener, NamesReportsAfterResultsAndTellsBothPaths) {
    testRoot().write("tarix/data/templates/t.tpl", "<report></report>\n");
    const std::string elsewhere = testRoot().write("t2.tpl", "<report></report>\n");
    testRoot().makeDir("tarix/data/reports");
    opt_autosave = 1;
    opt_autorpt = 1;
    opt_autoname = 1;
    opt_refname.set("run");
    addApp("tx", "1700000000");
    subscribe("tx", {"tx"}, "t.tpl");
    finish();
    struct Case {
        std::int32_t format;
        std::string templateName;
        std::string templatePath;
        const char *report;
        bool made;
    };
    const Case cases[] = {
        {1, "t.tpl", testRoot().path("tarix/data/templates/t.tpl"), "run00001.pdf", true},
        {0, "t.tpl", testRoot().path("tarix/data/templates/t.tpl"), "run00002.txt", true},
        {0, elsewhere, elsewhere, "run00003.txt", true},
        {7, elsewhere, elsewhere, "run00004.res", false},  // no such format
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.report);
        opt_auto_fmt = c.format;
        ASSERT_EQ(setSubsTemplate("tx", c.templateName.c_str()), POST_OK);
        finish();
        newLines("");
        sync("tx");
        const std::string base = std::string(c.report).substr(0, 8);
        const std::string results = testRoot().path("tarix/data/results/tx/") + base + ".res";
        const std::string report = testRoot().path("tarix/data/reports/") + c.report;
        const std::string lines = log.text();
        EXPECT_NE(lines.find("Autoreport for tx:\n"
                             "  Subs name     : tx\n"
                             "  Results file  : " +
                             results +
                             "\n"
                             "  Template file : " +
                             c.templatePath +
                             "\n"
                             "  Report file   : " +
                             report + "\n"),
                  std::string::npos)
            << lines;
        EXPECT_EQ(std::filesystem::exists(report), c.made);
        EXPECT_EQ(std::filesystem::exists(results), !c.made);
        EXPECT_EQ(
            newLines("Error"),
            c.made ? "" : "Error: could not generate autoreport from " + results + " (err=-19).\n");
    }
    EXPECT_EQ(opt_autoseq, 4);  // the number of the failed report is used again
}

}  // namespace
