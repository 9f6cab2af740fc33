// SPDX-License-Identifier: MIT
// What the service makes of applications that come and go, and of a registry queue that anybody
// can write to, or remove.
#include <string>

#include <gtest/gtest.h>
#include <sys/msg.h>

#include "server/requests.h"
#include "support/service_run.h"

namespace {

// A change list of the service on an application.
bool watches(const ServiceRun &run, const std::string &app) {
    return run.root.exists("run/tarix/okra/changes/" + app + "/vorn_sync");
}

TEST(ServiceEvents, WatchApplicationsAsLongAsASubscriptionNamesThem) {
    ServiceRun run;
    run.sim({"up"});
    run.app("shared");
    run.config("autosave yes\n");
    run.subscriptions("subscribe one:shared\nsubscribe two:shared,late\nsubscribe one:other\n");
    run.startServing();
    run.waitForLog("Application 'late' not found. Subscription delayed.\n");
    EXPECT_EQ(run.countInLog("Created sync change list on app 'shared'.\n"), 1);

    // The second subscription named one was not installed: nobody watches its application.
    run.sim({"create", "other"});
    run.sim({"create", "late"});
    run.waitForLog("Created sync change list on app 'late'.\n");
    EXPECT_FALSE(watches(run, "other"));

    // It goes and comes back, with its measurements disabled at first.
    run.sim({"destroy", "late"});
    run.waitForLog("Command: app destroyed 'late'.\n");
    run.root.write("run/tarix/okra/disabled/late", "");
    run.sim({"create", "late"});
    run.waitForLog("Application 'late' has measurements disabled. Ignored.\n");
    run.sim({"sync", "shared"});  // the disabled one does not hold the subscription back
    run.waitForLog("Saved results file", 2);
    run.sim({"enable", "late"});
    run.sim({"event", "late", "1"});
    run.waitForLog("Created sync change list on app 'late'.\n", 2);

    const auto remove = [&](const std::string &name, int times) {
        EXPECT_EQ(run.request(REQ_REMOVE_SUBS, 0, 0, {name}).param1, 0);
        run.waitForLog("Command: stop subs '" + name + "'.\n", times);
    };
    remove("one", 1);
    remove("nobody", 1);
    EXPECT_TRUE(watches(run, "shared"));
    remove("two", 1);
    EXPECT_TRUE(waitUntil([&] { return !watches(run, "shared") && !watches(run, "late"); }));
    EXPECT_EQ(run.files("tarix/data/results"), "one two");  // what was saved stays
    for (int i = 1; i <= 8; ++i) {                          // who goes gives the quota back
        EXPECT_EQ(run.request(REQ_ADD_SUBS, 0, 0, {"guest"}).param1, 0);
        remove("guest", i);
    }
    EXPECT_EQ(run.countInLog("Warning: no quota left"), 0);
}

TEST(ServiceEvents, IgnoreAPoisonedRegistryQueue) {
    ServiceRun run;
    run.sim({"up"});
    run.app("tx");
    run.config("autosave yes\n");
    run.subscriptions("subscribe tx\n");
    run.startServing();
    run.waitForLog("Measurement enable control: enabled\n", 2);  // the subscription's quota

    const int queue = run.queueId();
    const std::string mask("\x03\0\0\0", 4);
    sendMessage(queue, 3, syncResponse("tx", 2));
    sendMessage(queue, 2147483647, "");
    for (const long type : {1L, 2L})
        for (const std::string &text : {std::string(), std::string("\x01"), mask})
            sendMessage(queue, type, text);
    sendMessage(queue, 2, syncResponse("tx", 2).substr(0, 16));  // no state
    sendMessage(queue, 1, mask + "twelveletters");               // no NUL
    sendMessage(queue, 1, mask + std::string(5000, 'y'));        // cut at the buffer's end
    sendMessage(queue, 2, std::string(16, 'x') + "\x02" + std::string(5000, 'z'));
    sendMessage(queue, 1, std::string("\x04\0\0\0tx", 6));
    sendMessage(queue, 2, syncResponse("tx", 1));
    sendMessage(queue, 2, syncResponse("tx", 2));
    run.waitForLog("Saved results file");

    // Two threads write the log: the events' lines and the commands' lines, each in order.
    std::string events;
    std::string commands;
    std::istringstream lines(run.log().substr(run.log().find("App event received")));
    for (std::string line; std::getline(lines, line) && !line.starts_with("Saved");)
        (line.starts_with("Command: ") ? commands : events) += line + "\n";
    EXPECT_EQ(events,
              "App event received. Event mask =0x0003.\n"  // without a name
              "App event received. Event mask =0x0003.\n"
              "App event received. Event mask =0x0003.\n"
              "Sync response from xxxxxxxx, sync=2.\n"
              "Error getting start time of 'xxxxxxxx': no such application.\n"
              "App event received. Event mask =0x0004.\n"
              "Sync response from tx, sync=1.\n"
              "Sync response from tx, sync=2.\n");
    EXPECT_EQ(commands,
              "Command: app created 'twelvele'.\n"
              "Command: app destroyed 'twelvele'.\n"
              "Command: app created 'yyyyyyyy'.\n"
              "Command: app destroyed 'yyyyyyyy'.\n"
              "Command: sync on 'xxxxxxxx' (autosave=1).\n"
              "Command: sync on 'tx' (autosave=1).\n");
}

TEST(ServiceEvents, GoOnOnAnotherQueueWhenTheRegistrysIsRemoved) {
    ServiceRun run;
    run.sim({"up"});
    run.app("tx");
    run.config("autosave yes\n");
    run.subscriptions("subscribe both:tx,late\nsubscribe hurt:hurt\n");
    run.root.write("run/tarix/okra/apps/hurt", "damaged\n");
    run.startServing();
    run.waitForLog("Application 'late' not found. Subscription delayed.\n");
    run.waitForLog("Error: could not look up application 'hurt'");
    run.app("hurt");  // looked up again without being told
    run.waitForLog("Created sync change list on app 'hurt'.\n");
    ASSERT_EQ(msgctl(run.queueId(), IPC_RMID, nullptr), 0);
    run.waitForLog("Error receiving events: Identifier removed. Retrying...\n");
    EXPECT_EQ(run.control("status"), "2 KELP queue not created. Retrying...");
    run.app("late");  // nobody tells
    run.waitForLog("Created sync change list on app 'late'.\n");
    EXPECT_TRUE(waitUntil([&] { return run.control("status") == "1 Server is running OK."; }));
    run.sim({"sync", "tx"});
    run.sim({"sync", "late"});
    run.waitForLog("Saved results file");
    run.sim({"create", "new"});
    run.waitForLog("Command: app created 'new'.\n");
    EXPECT_EQ(run.countInLog("Error"), 2);
}

TEST(ServiceEvents, OverflowTellsClientsAtOnceAndDropsEventsAfterAWhile) {
    ServiceRun run;
    run.sim({"up"});
    // Change lists that cannot be made: each application keeps the configuration thread for a
    // second.
    for (const char *name : {"a", "b", "c"}) {
        run.app(name);
        run.root.write(std::string("run/tarix/okra/changes/") + name, "");
    }
    run.startServing();
    EXPECT_EQ(run.request(REQ_ADD_SUBS, 3, 0, {"busy", "a", "", "b", "", "c", ""}).param1, 0);
    run.waitForLog("Command: start subs 'busy'.\n");

    int refused = 0;
    for (int i = 0; i < 52; ++i) refused += run.request(REQ_REMOVE_SUBS, 0, 0, {"x"}).param1 == -1;
    EXPECT_EQ(refused, 2);
    EXPECT_EQ(run.countInLog("Overflow in command queue.\n"), 2);
    sendMessage(run.queueId(), 2, syncResponse("nobody", 2));
    run.waitForLog("Overflow in command queue.\n", 3);
    EXPECT_EQ(run.countInLog("Command: "), 1);  // still busy

    run.waitForLog("Command: stop subs 'x'.\n", 50);
    EXPECT_EQ(run.countInLog("Could not subscribe to changes in app "), 3);
    EXPECT_EQ(run.countInLog("Command: sync on"), 0);
}

TEST(ServiceEvents, LoseNoneOfSixtyFourApplicationsThatSynchroniseTogether) {
    ServiceRun run;
    run.sim({"up"});
    std::string subscriptions;
    std::vector<std::string> apps;
    for (char subs = 'a'; subs <= 'h'; ++subs) {
        subscriptions += std::string("\nsubscribe ") + subs + ":";
        for (char app = '1'; app <= '8'; ++app) {
            apps.push_back(std::string{subs, app});
            subscriptions += apps.back() + ",";
            run.app(apps.back());
        }
    }
    run.config("autosave yes\n");
    run.subscriptions(subscriptions);
    run.startServing();
    run.waitForLog("Created sync change list on app ", 64);

    for (const std::string &app : apps) sendMessage(run.queueId(), 2, syncResponse(app, 2));
    run.waitForLog("Saved results file", 8);
    EXPECT_EQ(run.countInLog("Overflow"), 0);
    // The reports' quota and seven subscriptions fill the table; the eighth saves without limit.
    EXPECT_EQ(run.countInLog("Warning: no quota left for subscription 'h'.\n"), 1);
    EXPECT_EQ(run.countInLog("Warning: no quota left"), 1);
    for (char subs = 'a'; subs <= 'h'; ++subs)
        EXPECT_EQ(run.files(std::string("tarix/data/results/") + subs), "2023-11-14-221320.res");
}

}  // namespace
