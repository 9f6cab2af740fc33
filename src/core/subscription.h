// SPDX-License-Identifier: MIT
// A subscription: a group of measurement applications whose results are saved into one file once
// all of them have synchronised. A leaf that every folder may read.
#pragma once

#include <cstdint>

constexpr int MAX_SUBSCRIPTION_APPS = 8;
constexpr int MAX_INITIAL_SUBSCRIPTIONS = 8;
constexpr int NAME_SIZE = 16;  // of subscriptions and applications, the NUL included

struct SubscriptionApp {
    char appLabel[NAME_SIZE];  // a second name; the files write appName here too
    char appName[NAME_SIZE];   // as the application manager knows it
    std::int32_t syncTime;     // start time of the synchronisation not yet saved, 0: none
};

// Times are seconds since 1970-01-01 UTC. What the files do not give is zero until the subscription
// is installed.
struct Subscription {
    char name[NAME_SIZE];   // unique among installed subscriptions
    char resultsDir[64];    // opt_resdir, '/', name
    std::int32_t syncTime;  // start time of the measurement that is being saved
    std::int32_t numApps;   // entries used in `apps`, 1 to 8
    SubscriptionApp apps[MAX_SUBSCRIPTION_APPS];
    char
        templateName[64];  // for automatic reports; a full path, or relative to opt_tpldir; "" none
    std::int32_t quotaId;  // handle of the results quota, -1: none
};
