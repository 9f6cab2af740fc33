// SPDX-License-Identifier: MIT
// The listener's threads in this process, on the host platform in a directory of the test's own.
#include "listener/listener.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/msg.h>

#include "core/options.h"
#include "listener/commands.h"
#include "report/user_vars.h"
#include "storage/strings.h"
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
        const std::string last = "end" + std::to_string(++ends_);
        ASSERT_EQ(stopMeasSubs(last.c_str()), POST_OK);
        ASSERT_TRUE(waitFor("Command: stop subs '" + last + "'.\n"));
    }
    // Has an application synchronise; the lines then logged that begin so.
    std::string sync(const std::string &app, const std::string &beginning) {
        read_ = log.text().size();
        sendMessage(kelpQueueId, 2, syncResponse(app, 2));
        EXPECT_TRUE(waitFor("Command: sync on '" + app.substr(0, 8) + "'"));
        finish();
        std::istringstream lines(log.text().substr(read_));
        std::string found;
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(beginning)) found += line + "\n";
        return found;
    }
    bool waitFor(const std::string &text) {
        return waitUntil([&] { return log.text().find(text, read_) != std::string::npos; });
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
    const auto expectSaves = [&](const std::string &app, const std::string &time) {
        const std::string path = testRoot().path("tarix/data/results/pair/2023-11-14-22") + time;
        EXPECT_EQ(sync(app, "Saved"), time.empty() ? "" : "Saved results file " + path + ".res.\n");
    };
    expectSaves("late", "");
    expectSaves("early", "1320");
    expectSaves("early", "");  // the times of the first round are gone
    addApp("early", "1700000120");
    expectSaves("early", "");  // a second response replaces the first
    expectSaves("late", "1420");
    expectSaves("ninechars", "");
    expectSaves("zero", "");  // a start time of 0 is none
    opt_autosave = 0;
    expectSaves("late", "");
    expectSaves("early", "");
    EXPECT_EQ(log.text().find("Error"), std::string::npos);
}

TEST_F(Listener, NamesFilesByTheOptionsAndTellsTheTemplates) {
    const std::string longest(31, 'r');
    const struct {
        std::int16_t format;
        std::int32_t sequence;
        std::string reference;
        std::string variable, file;
        std::int32_t next;
    } cases[] = {
        {0, 7, "run", "2023-11-14-221320", "2023-11-14-221320", 7},
        {1, 7, longest, longest + "00007", longest + "00007", 8},
        {1, 8, "a/b", "a/b00008", "a_b00008", 9},
        {1, 99999, "", "99999", "99999", 100000},
        {1, -3, "", "-0003", "-0003", -2},
        {1, INT32_MAX, "", "2147483647", "2147483647", INT32_MIN},
        {2, 7, "run", "report", "report", 7},
    };
    opt_autosave = 1;
    safe_strncpy(opt_resdir, testRoot().path().c_str(), sizeof opt_resdir);  // short for long names
    addApp("tx", "1700000000");
    subscribe("tx", {"tx"});
    finish();
    for (const auto &c : cases) {
        opt_autoname = c.format;
        opt_refname.set(c.reference.c_str());
        opt_autoseq = c.sequence;
        EXPECT_EQ(sync("tx", "Saved"),
                  "Saved results file " + testRoot().path("tx/") + c.file + ".res.\n");
        char variable[64];
        EXPECT_TRUE(copyUserVar(&kv_urv, "report-name", variable, sizeof variable));
        EXPECT_EQ(variable, c.variable);
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
    addApp("tx", "1700000000");
    subscribe("tx", {"tx"}, "t.tpl");
    finish();
    const struct {
        std::int32_t format;
        std::string templateName, templatePath, name, extension;
    } cases[] = {
        {1, "t.tpl", testRoot().path("tarix/data/templates/t.tpl"), "00001", ".pdf"},
        {0, elsewhere, elsewhere, "00002", ".txt"},
        {7, elsewhere, elsewhere, "00003", ".res"},  // no such format
    };
    for (const auto &c : cases) {
        opt_auto_fmt = c.format;
        ASSERT_EQ(setSubsTemplate("tx", c.templateName.c_str()), POST_OK);
        const std::string results = testRoot().path("tarix/data/results/tx/") + c.name + ".res";
        const std::string report = testRoot().path("tarix/data/reports/") + c.name + c.extension;
        std::string told = "  Subs name     : tx\n  Results file  : ";
        told.append(results).append("\n  Template file : ").append(c.templatePath);
        told.append("\n  Report file   : ").append(report).append("\n");
        EXPECT_EQ(sync("tx", "  "), told);
        const bool made = c.format != 7;
        EXPECT_EQ(std::filesystem::exists(report), made);
        EXPECT_EQ(std::filesystem::exists(results), !made);
        const std::string error =
            "Error: could not generate autoreport from " + results + " (err=-19).\n";
        EXPECT_EQ(log.text().find(error) == std::string::npos, made);
    }
    EXPECT_EQ(opt_autoseq, 3);  // the number of the failed report is used again
}

}  // namespace
