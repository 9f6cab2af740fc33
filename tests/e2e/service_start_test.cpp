// SPDX-License-Identifier: MIT
// How the service starts, waits, refuses to start and ends.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "support/case_runner.h"
#include "support/service_run.h"

namespace {

const char running[] = "Configs and Reports Manager (VORN) is running...\n";
const char noState[] = "Warning: no persistent data found.\n";
const char noRegistry[] = "Warning: KELP server not ready. Retrying...\n";
const char registry[] = "KELP server is ready.\n";

void expectStatus(const ServiceRun &run, const std::string &status) {
    EXPECT_TRUE(waitUntil([&] { return run.control("status") == status; }))
        << run.control("status") << ", not " << status;
}

TEST(ServiceStart, WaitsForEachPeerAndTellsTheStatusMeanwhile) {
    ServiceRun run;
    run.start({"-D", "1"});
    expectStatus(run, "2 KELP server is not ready. Retrying...");
    run.root.makeDir("run/tarix/kelp/vorn_app");  // a folder in the queue's place
    expectStatus(run, "2 KELP queue not created. Retrying...");
    std::filesystem::remove(run.root.path("run/tarix/kelp/vorn_app"));
    expectStatus(run, "2 Application manager is not ready. Retrying...");
    run.root.makeDir("run/tarix/okra/events");  // a folder in the place of the list of queues
    expectStatus(run, "3 Could not subscribe to application events.");
    EXPECT_FALSE(run.root.exists("tarix/data/reports"));
    std::filesystem::remove(run.root.path("run/tarix/okra/events"));
    expectStatus(run, "1 Server is running OK.");
    EXPECT_EQ(run.control("describe"), "VORN - Configs and Reports Manager.");
    ASSERT_TRUE(waitUntil([&] { return run.root.exists("tarix/data/reports"); }));
    EXPECT_EQ(run.files("tarix/data"), "configs reports results templates");
    ASSERT_TRUE(run.waitForLog("vorn.cfg'"));
    EXPECT_EQ(run.control("debug 3"), "ok");
    std::string log = run.log();
    log.erase(log.find("vorn " VORN_VERSION), log.find("Debug") - log.find("vorn " VORN_VERSION));
    EXPECT_EQ(log, std::string(noState) + running + noRegistry + registry +
                       "Error: could not create KELP queue. Retrying...\n"
                       "KELP queue created.\n"
                       "Warning: OKRA manager not ready. Retrying...\n"
                       "OKRA manager opened.\n"
                       "Warning: could not subscribe to OKRA events. Retrying...\n"
                       "Subscribed to OKRA events.\n"
                       "Debug level set to 3\n");
}

TEST(ServiceStart, IsQuietWhenAllPeersAreReadyAndEndsWithStatusZero) {
    for (const int signal : {SIGTERM, SIGINT, 0}) {
        ServiceRun run;
        run.sim({"up"});
        run.start({"-D", "1"});
        ASSERT_TRUE(run.waitForLog("vorn.cfg'"));
#ifdef VORN_SANITIZED  // a signal that comes just before the first wait is put off by the sanitizer
        usleep(200000);
#endif
        EXPECT_EQ(signal != 0 ? "ok" : run.control("stop"), "ok");
        if (signal != 0) kill(run.pid(), signal);
        EXPECT_EQ(run.wait(), 0);
        std::string log = run.log();
        log.replace(log.find("port ") + 5, log.find(';') - log.find("port ") - 5, "N");
        EXPECT_EQ(log, std::string(noState) + running +
                           "vorn " VORN_VERSION " takes clients on port N; configuration file '" +
                           run.root.path("etc/tarix/vorn.cfg") + "'.\nStopped " +
                           (signal == 0         ? "on request"
                            : signal == SIGTERM ? "by SIGTERM"
                                                : "by SIGINT") +
                           ".\n");
        EXPECT_FALSE(run.root.exists("run/tarix/vorn.ctl"));
    }
}

#ifndef VORN_SANITIZED  // the sanitizers' own memory would not fit
TEST(ServiceStart, FailsWhenAThreadCannotBeMade) {
    ServiceRun run;
    run.start({"-D", "1"});
    expectStatus(run, "2 KELP server is not ready. Retrying...");
    std::ifstream statm("/proc/" + std::to_string(run.pid()) + "/statm");
    rlim_t pages = 0;
    statm >> pages;
    const rlim_t size = pages * 4096 + 1024 * 1024;  // less than the stack of a thread
    const rlimit limit{size, size};
    ASSERT_EQ(prlimit(run.pid(), RLIMIT_AS, &limit, nullptr), 0);
    run.sim({"up"});
    EXPECT_EQ(run.wait(), 255);
    EXPECT_TRUE(
        run.log().ends_with("Error creating measConfig thread: Resource temporarily unavailable\n"
                            "Could not start measurements listener.\nServer stopped.\n"));
}
#endif

TEST(ServiceStart, FailsWithItsStepsCodeAndOneReason) {
    const struct {
        const char *argument, *file, *content;
        int status;
        std::string said;  // the end of it; @ stands for the root
    } cases[] = {
        {"--help", "etc/tarix/vorn.cfg", "full-action x\n", 1,
         "Use this config file (default: @/etc/tarix/vorn.cfg)\n"},
        {"-c/no", "etc/tarix/vorn.cfg", "", 255, "Error: unknown option '-c/no'.\n"},
        {"-f", "etc/tarix/vorn.cfg", "\nfull-action x\n", 255,
         "[@/etc/tarix/vorn.cfg:2]: incorrect value 'x'.\n"},
        {"-f", "tarix/data/vorn/vorn.sav", "\xCB\xEA\x01\x11", 236, ""},
        {"-f", "tarix/data/vorn/vorn.sav", "foreign file", 236, ""},
        {"-f", "etc/tarix/vorn/test.subs", "subscribe a\nsubscribe\n", 255,
         "Error: missing subscription name.\n"
         "Error in [@/etc/tarix/vorn/test.subs:2]: Could not load subscription.\n"
         "Error: could not load subscriptions file '@/etc/tarix/vorn/test.subs'.\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.said);
        ServiceRun run;
        run.sim({"up"});
        run.root.write(c.file, c.content);
        run.start({c.argument});
        EXPECT_EQ(run.wait(), c.status);
        const std::string all = run.root.read("stdout") + run.log();
        const std::string said = replaced(c.said, "@", run.root.path());
        EXPECT_TRUE(said.empty() ? all.empty() : all.ends_with(said)) << all;
        EXPECT_FALSE(run.root.exists("run/tarix/vorn.ctl"));
        EXPECT_EQ(run.files("tarix/data"), c.status == 236 ? "templates vorn" : "templates");
    }
}

}  // namespace
