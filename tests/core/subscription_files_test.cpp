// SPDX-License-Identifier: MIT
#include "core/subscription_files.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/options.h"
#include "support/log_capture.h"
#include "support/test_root.h"

namespace {

// "name:app,app:template" as the record holds it.
std::string show(const Subscription &s) {
    std::string text = std::string(s.name) + ":";
    for (int i = 0; i < s.numApps; ++i) {
        EXPECT_STREQ(s.apps[i].appName, s.apps[i].appLabel);
        text += (i > 0 ? "," : "") + std::string(s.apps[i].appName);
    }
    return text + ":" + s.templateName;
}

// Subscribe lines with the names from `first` on.
std::string lines(char first, int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "subscribe " + std::string(1, static_cast<char>(first + i)) + "\n";
    return text;
}

std::string table() {
    std::string text;
    for (int i = 0; i < opt_num_subs; ++i) text += show(opt_subs[i]) + " ";
    return text;
}

}  // namespace

TEST(ParseSubscription, SkipsEmptyPiecesAndCutsToTheFields) {
    const std::string nine = "a1,a2,a3,a4,a5,a6,a7,a8,a9";
    const std::string missing = "Error: missing subscription name.\n";
    struct Case {
        const char *text;
        std::string shown;  // "" when it fails
        std::string log;
    };
    const std::string longTemplate = "tx:a:" + std::string(70, 't');
    const std::string tooMany = "tx:" + nine;
    const std::string eight = "tx:" + nine.substr(0, 23) + ",,";
    const Case cases[] = {
        {"tx:gen1,ana2:report.tpl", "tx:gen1,ana2:report.tpl", ""},
        {"tx::report.tpl", "tx:report.tpl:", ""},
        {" :tx a,,b t:more", "tx:a,b:t", ""},
        {"tx:abcdefghijklmnopqrst", "tx:abcdefghijklmno:", ""},
        {longTemplate.c_str(), "tx:a:" + std::string(63, 't'),
         "Warning: path '" + std::string(63, 't') + "' was cut at 63 characters.\n"},
        {eight.c_str(), eight.substr(0, 26) + ":", ""},
        {tooMany.c_str(), "", "Error: too many applications per subscription.\n"},
        {nullptr, "", missing},
    };
    for (const Case &c : cases) {
        const LogCapture log;
        Subscription s;
        std::memset(&s, 0xFF, sizeof s);
        const bool parsed = parseSubscription(c.text, &s) == SUBSCRIPTION_OK;
        EXPECT_EQ(parsed ? show(s) : "", c.shown);
        EXPECT_EQ(log.text(), c.log);
        EXPECT_EQ(s.quotaId | s.syncTime | s.apps[7].syncTime | s.resultsDir[0], 0);
    }
}

TEST(SubscriptionFiles, AreReadLineByLineUntilAnErrorWithItsPlace) {
    const TempDir dir;
    struct Case {
        std::string content;
        const char *table, *log;
    };
    const Case cases[] = {
        {"#x\nsubscribe a:b,c:d more\n\nSubscribe e\nsubscribe\t'f'", "a:b,c:d 'f':'f': ",
         "Warning in [file:4]: unknown variable 'Subscribe' in subscription file.\n"},
        {lines('a', 9), "a:a: b:b: c:c: d:d: e:e: f:f: g:g: h:h: ",
         "Error in [file:9]: too many initial subscriptions.\n"},
    };
    for (const Case &c : cases) {
        const std::string path = dir.write("x.subs", c.content);
        opt_num_subs = 0;
        const LogCapture log;
        const bool failed = loadSubscriptionFile(path.c_str()) != SUBSCRIPTION_OK;
        std::string text = log.text();
        for (std::size_t at; (at = text.find(path)) != std::string::npos;)
            text.replace(at, path.size(), "file");
        EXPECT_EQ(text, c.log);
        EXPECT_EQ(failed, text.find("Error") != std::string::npos);
        EXPECT_EQ(table(), c.table);
    }
    EXPECT_EQ(loadSubscriptionFile(dir.path().c_str()), SUBSCRIPTION_FAILED);
}

TEST(SubscriptionFiles, AreAllReadThoughOneFails) {
    const TempDir &root = testRoot();
    setDefaults();
    EXPECT_EQ(loadSubscriptionFiles(), SUBSCRIPTION_OK);  // no directory

    const std::string directory = root.path("etc/tarix/vorn");
    root.write("etc/tarix/vorn/.subs", lines('p', 1));
    root.write("etc/tarix/vorn/x.txt", lines('q', 1));
    root.makeDir("etc/tarix/vorn/y.subs");
    root.write("etc/tarix/vorn/a.subs", lines('a', 2));
    root.write("etc/tarix/vorn/bad.subs", "subscribe\n");
    root.write("etc/tarix/vorn/c.subs", lines('c', 1));
    const LogCapture log(2);
    EXPECT_EQ(loadSubscriptionFiles(), SUBSCRIPTION_FAILED);
    EXPECT_EQ(opt_num_subs, 3);
    std::string text = log.text();
    for (const char *name : {"a", "c", "bad"}) {  // in the order of the directory
        const std::string path = directory + "/" + name + ".subs";
        const std::string part = *name == 'b'
                                     ? "Error: missing subscription name.\nError in [" + path +
                                           ":1]: Could not load subscription.\n"
                                           "Error: could not load subscriptions file '" +
                                           path + "'.\n"
                                     : "Loaded subscription file '" + path + "'.\n";
        const std::size_t at = text.find(part);
        ASSERT_NE(at, std::string::npos) << part << " in " << text;
        text.erase(at, part.size());
    }
    EXPECT_EQ(text, "");
}
