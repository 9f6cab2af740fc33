// SPDX-License-Identifier: MIT
#include "listener/synchronisation.h"

#include <cstring>

#include "listener/watched_apps.h"

namespace {

SubscriptionApp *findApp(Subscription *subscription, const char *name) {
    for (int i = 0; i < subscription->numApps; ++i)
        if (std::strcmp(subscription->apps[i].appName, name) == 0) return &subscription->apps[i];
    return nullptr;
}

bool allSynchronised(const Subscription *subscription) {
    int active = 0;
    int synced = 0;
    for (int i = 0; i < subscription->numApps; ++i) {
        const AppEntry *entry = findWatchedApp(subscription->apps[i].appName);
        if (entry == nullptr || entry->active != 1) continue;
        ++active;
        if (subscription->apps[i].syncTime != 0) ++synced;
    }
    return active > 0 && synced == active;
}

void takeSyncTimes(Subscription *subscription) {
    std::int32_t earliest = 0;
    for (int i = 0; i < subscription->numApps; ++i) {
        std::int32_t &pending = subscription->apps[i].syncTime;
        if (earliest == 0 || (pending > 0 && pending < earliest)) earliest = pending;
        pending = 0;
    }
    subscription->syncTime = earliest;
}

}  // namespace

bool noteSynchronisation(Subscription *subscription, const char *appName, std::int32_t startTime) {
    SubscriptionApp *app = findApp(subscription, appName);
    if (app == nullptr) return false;
    app->syncTime = startTime;
    if (!allSynchronised(subscription)) return false;
    takeSyncTimes(subscription);
    return true;
}
