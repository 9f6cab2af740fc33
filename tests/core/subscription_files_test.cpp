// SPDX-License-Identifier: MIT
#include "core/subscription_files.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/test_root.h"

namespace {

// The table's entries as "name:app,app:template ".
std::string table() {
    std::string text;
    for (int i = 0; i < opt_num_subs; ++i) {
        const Subscription &s = opt_subs[i];
        text += s.name;
        for (int app = 0; app < s.numApps; ++app) {
            EXPECT_STREQ(s.apps[app].appName, s.apps[app].appLabel);
            text += (app > 0 ? "," : ":") + std::string(s.apps[app].appName);
        }
        text += ":" + std::string(s.templateName) + " ";
    }
    return text;
}

}  // namespace

TEST(SubscriptionFile, IsReadLineByLineUntilAnErrorWithItsPlace) {
    const TempDir dir;
    runCases("core/cases/subscriptions.txt", 1, [&](const CaseFields &row) -> CaseFields {
        const std::string path = dir.write("x.subs", row[0]);
        opt_num_subs = 0;
        const LogCapture log;
        const bool failed = loadSubscriptionFile(path.c_str()) != SUBSCRIPTION_OK;
        EXPECT_EQ(failed, log.text().find("Error") != std::string::npos);
        return {table(), replaced(log.text(), path, "file")};
    });
    EXPECT_EQ(loadSubscriptionFile(dir.path().c_str()), SUBSCRIPTION_FAILED);
}

TEST(SubscriptionFiles, AreAllReadThoughOneFails) {
    const TempDir &root = testRoot();
    setDefaults();
    const std::string folder = root.path("etc/tarix/vorn");
    const LogCapture log(2);
    EXPECT_EQ(loadSubscriptionFiles(), SUBSCRIPTION_OK);  // no directory
    root.write("etc/tarix/vorn", "");                     // one that cannot be read
    EXPECT_EQ(loadSubscriptionFiles(), SUBSCRIPTION_OK);
    std::filesystem::remove(folder);
    for (const char *other : {".subs", "x.txt", "y.subs/file"})
        root.write(std::string("etc/tarix/vorn/") + other, "subscribe p\n");
    root.write("etc/tarix/vorn/a.subs", "subscribe a\n");
    root.write("etc/tarix/vorn/bad.subs", "subscribe\n");
    EXPECT_EQ(loadSubscriptionFiles(), SUBSCRIPTION_FAILED);
    EXPECT_EQ(table(), "a:a: ");
    const std::string text = replaced(log.text(), folder, "@");
    for (const char *line : {"Error reading subscription folder '@': Not a directory\n",
                             "Loaded subscription file '@/a.subs'.\n",
                             "Error in [@/bad.subs:1]: Could not load subscription.\n"
                             "Error: could not load subscriptions file '@/bad.subs'.\n"})
        EXPECT_NE(text.find(line), std::string::npos) << text;
}
