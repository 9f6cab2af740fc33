// SPDX-License-Identifier: MIT
// How the service starts, waits, refuses to start and ends.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>

#include "support/service_run.h"

namespace {

const char running[] = "Configs and Reports Manager (VORN) is running...\n";
const char noState[] = "Warning: no persistent data found.\n";

TEST(ServiceStart, WaitsForEachPeerAndTellsTheStatusMeanwhile) {
    ServiceRun run;
    run.start({"-D", "1"});
    const auto hasStatus = [&](const std::string &status) {
        EXPECT_TRUE(waitUntil([&] { return run.control("status") == status; }))
            << run.control("status") << ", not " << status;
    };
    hasStatus("2 KELP server is not ready. Retrying...");
    run.root.makeDir("run/tarix/kelp/vorn_app");  // a folder in the queue's place
    hasStatus("2 KELP queue not created. Retrying...");
    std::filesystem::remove(run.root.path("run/tarix/kelp/vorn_app"));
    hasStatus("2 Application manager is not ready. Retrying...");
    run.root.makeDir("run/tarix/okra/events");  // a folder in the place of the list of queues
    hasStatus("3 Could not subscribe to application events.");
    EXPECT_FALSE(run.root.exists("tarix/data/reports"));
    std::filesystem::remove(run.root.path("run/tarix/okra/events"));
    hasStatus("1 Server is running OK.");
    EXPECT_EQ(run.control("describe"), "VORN - Configs and Reports Manager.");
    ASSERT_TRUE(waitUntil([&] { return run.root.exists("tarix/data/reports"); }));
    EXPECT_EQ(run.files("tarix/data"), "configs reports results templates");

    EXPECT_EQ(run.control("debug 3"), "ok");
    EXPECT_EQ(run.log(), std::string(noState) + running +
                             "Warning: KELP server not ready. Retrying...\n"
                             "KELP server is ready.\n"
                             "Error: could not create KELP queue. Retrying...\n"
                             "KELP queue created.\n"
                             "Warning: OKRA manager not ready. Retrying...\n"
                             "OKRA manager opened.\n"
                             "Warning: could not subscribe to OKRA events. Retrying...\n"
                             "Subscribed to OKRA events.\n"
                             "Debug level set to 3\n");
}

TEST(ServiceStart, IsQuietWhenAllPeersAreReadyAndEndsWithStatusZero) {
    const auto bySignal = [](int signal) {
        return [signal](const ServiceRun &run) { kill(run.pid(), signal); };
    };
    const std::function<void(const ServiceRun &)> ways[] = {
        bySignal(SIGTERM),
        bySignal(SIGINT),
        [](const ServiceRun &run) { EXPECT_EQ(run.control("stop"), "ok"); },
    };
    for (const auto &end : ways) {
        ServiceRun run;
        run.sim({"up"});
        run.start({"-D", "1"});
        ASSERT_TRUE(waitUntil([&] { return run.control("status") == "1 Server is running OK."; }));
        ASSERT_TRUE(waitUntil([&] { return run.root.exists("tarix/data/reports"); }));
        end(run);
        EXPECT_EQ(run.wait(), 0);
        EXPECT_EQ(run.log(), std::string(noState) + running);
        EXPECT_FALSE(run.root.exists("run/tarix/vorn.ctl"));
    }
}

TEST(ServiceStart, FailsWithItsStepsCodeAndOneReason) {
    struct Case {
        std::vector<std::string> arguments;
        const char *config;
        const char *state;
        const char *subscriptions;
        int status;
        std::string log;  // @ stands for the root
        std::string out;
    };
    const std::string magic = "\xCB\xEA\x01\x11";
    const Case cases[] = {
        {{"--help"},
         "full-action x\n",
         "x",
         "y\n",
         1,
         "",
         "\nvorn 1.5.1: Tarix Configurations and Reports Manager.\n\n"
         "    -c <file>  : Use this config file (default: @/etc/tarix/vorn.cfg)\n"},
        {{"-x"}, "", "", "", 255, "", "Error: unknown option '-x'.\n"},
        {{"-c"}, "", "", "", 255, "", "Error: missing config file after '-c' option.\n"},
        {{"-c", "/nowhere.cfg"},
         "",
         "",
         "",
         255,
         "Error loading config from /nowhere.cfg: No such file or directory\n",
         ""},
        {{},
         "autosave yes\nfull-action x\n",
         "",
         "",
         255,
         "Error in [@/etc/tarix/vorn.cfg:2]: incorrect value 'x'.\n",
         ""},
        {{}, "", magic.c_str(), "", 236, "", ""},
        {{}, "", "foreign file", "", 236, "", ""},
        {{},
         "",
         "",
         "subscribe a\nsubscribe\n",
         255,
         std::string(noState) +
             "Error: missing subscription name.\n"
             "Error in [@/etc/tarix/vorn/test.subs:2]: Could not load subscription.\n"
             "Error: could not load subscriptions file '@/etc/tarix/vorn/test.subs'.\n",
         ""},
    };
    const auto rooted = [](std::string text, const ServiceRun &run) {
        for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@'))
            text.replace(at, 1, run.root.path());
        return text;
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log + c.out);
        ServiceRun run;
        run.sim({"up"});
        run.config(c.config);
        if (*c.state != '\0') run.root.write("tarix/data/vorn/vorn.sav", c.state);
        if (*c.subscriptions != '\0') run.subscriptions(c.subscriptions);
        run.start(c.arguments);
        EXPECT_EQ(run.wait(), c.status);
        EXPECT_EQ(run.log(), rooted(c.log, run));
        EXPECT_EQ(run.root.read("stdout"), rooted(c.out, run));
        EXPECT_FALSE(run.root.exists("run/tarix/vorn.ctl"));
        EXPECT_EQ(run.files("tarix/data"), *c.state != '\0' ? "templates vorn" : "templates");
    }
}

}  // namespace
